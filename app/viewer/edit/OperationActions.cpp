// The table of the editor's image operations and their dialogs.
#include "app/viewer/edit/OperationActions.h"

#include <QObject>
#include <algorithm>
#include <cmath>

#include "app/settings/SettingKeys.h"
#include "formats/SaveOptions.h"
#include "ops/ColourAdjust.h"
#include "ops/ColourDepth.h"
#include "ops/Convolution.h"
#include "ops/Mirror.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"
#include "ops/SetResolution.h"

namespace vivark::viewer {
namespace {

QString tr(const char* text) {
    return QObject::tr(text);
}

constexpr int kMaxExtent = 65535 * 4;  // beyond this the Limits refuse anyway

// The general reduction choice the save path also uses.
settings::IntSetting& reductionSetting(std::string_view key) {
    return *std::get<settings::IntSetting*>(*findSaveSetting(key));
}

// Resize. The box is entered in pixels or in percent ("Resize\Mode" 0 or 1);
// the box mode decides what happens to the aspect ratio: stretched to the
// box, fitted inside it (the result is the fitted size), or fitted and the
// margins filled up to the whole box ("Resize\Proportional" and
// "Resize\LetterBox" keep the choice, as the command line reads them).
enum BoxMode { Stretch = 0, Fit = 1, LetterBox = 2 };

void resizeForm(ParamDialog& d, const Image& image) {
    d.addChoice("mode", tr("Size in"), {tr("Pixels"), tr("Percent")},
                int(std::min(settings::resizeMode.get(), 1u)));
    d.addInteger("width", tr("Width"), 1, kMaxExtent, int(image.width()));
    d.addInteger("height", tr("Height"), 1, kMaxExtent, int(image.height()));
    d.addReal("percent", tr("Percent"), 0.1, 10000, 100, 1);
    const int box = !settings::resizeProportional.get() ? Stretch
                    : settings::resizeLetterBox.get()   ? LetterBox
                                                        : Fit;
    d.addChoice("box", tr("Box"),
                {tr("Stretch to the box"), tr("Fit inside the box"),
                 tr("Fit inside the box and fill the margins")},
                box);
    d.addFlag("resample", tr("Resample (smooth)"), settings::resizeResample.get());
    d.addColour("fill", tr("Margin colour"), 0);
}

Operation resizeMake(const ParamDialog* d) {
    const bool percent = d->choice("mode") == 1;
    const double scale = d->real("percent") / 100.0;
    const uint32_t width = uint32_t(d->integer("width")), height = uint32_t(d->integer("height"));
    const int box = d->choice("box");
    const bool resample = d->flag("resample");
    const Colour fill = d->colour("fill");
    return [=](const Image& image, ProgressCallback* progress) {
        ResizeRequest request{width, height, 0, fill};
        if (percent) {
            auto scaled = [scale](uint32_t extent) {
                return uint32_t(
                    std::clamp(std::llround(extent * scale), 1LL, (long long)kMaxExtent));
            };
            request.width = scaled(image.width());
            request.height = scaled(image.height());
        } else if (box == LetterBox) {
            request.flags = resizeFlag::Centred;
        } else if (box == Fit) {
            request.flags = resizeFlag::Proportional;
            const ResizePlacement place = placeContent(image.width(), image.height(), request);
            request = {place.width, place.height, 0, fill};
        }
        return resample ? resizeResampled(image, request, progress)
                        : resizePoint(image, request, progress);
    };
}

void resizeRemember(const ParamDialog& d) {
    settings::resizeMode.set(uint32_t(d.choice("mode")));
    settings::resizeProportional.set(d.choice("box") != Stretch);
    settings::resizeLetterBox.set(d.choice("box") == LetterBox);
    settings::resizeResample.set(d.flag("resample"));
}

void rotateForm(ParamDialog& d, const Image&) {
    d.addReal("angle", tr("Angle (degrees, clockwise)"), -360, 360, 0, 2);
    d.addFlag("resample", tr("Resample (smooth)"), settings::rotateResample.get());
    d.addFlag("cropInside", tr("Crop to the largest upright rectangle"), false);
    d.addColour("fill", tr("Corner colour"), 0);
}

Operation rotateMake(const ParamDialog* d) {
    const RotateRequest request{int32_t(std::lround(d->real("angle") * kAngleUnitsPerDegree)),
                                d->colour("fill"), d->flag("cropInside")};
    const bool resample = d->flag("resample");
    return [=](const Image& image, ProgressCallback* progress) {
        return resample ? rotateResampled(image, request, progress)
                        : rotatePoint(image, request, progress);
    };
}

void rotateRemember(const ParamDialog& d) {
    settings::rotateResample.set(d.flag("resample"));
}

void thresholdForm(ParamDialog& d, const Image&) {
    d.addInteger("threshold", tr("Threshold"), 0, 256, 128, true);
}

const QStringList& paletteChoices() {
    static const QStringList choices = {
        tr("Adaptive (from the image)"), tr("Fixed system palette"), tr("Cube 2x2x2 (8)"),
        tr("Cube 8x8x4 (256)"),          tr("Cube 6x7x6 (252)"),     tr("Cube 6x6x6 (216)")};
    return choices;
}
const QStringList& ditherChoices() {
    static const QStringList choices = {tr("None (nearest colour)"), tr("Ordered"),
                                        tr("Error diffusion")};
    return choices;
}

void depthForm(ParamDialog& d, const Image&) {
    d.addInteger("colours", tr("Colours"), 2, 256, 256);
    d.addChoice("palette", tr("Palette"), paletteChoices(),
                int(std::min(reductionSetting(saveKey::PaletteType).get(), 5u)));
    d.addChoice("dither", tr("Dither"), ditherChoices(),
                int(std::min(reductionSetting(saveKey::DitherType).get(), 2u)));
}

Operation depthMake(const ParamDialog* d) {
    const IndexedColour p{uint32_t(d->choice("palette")), uint32_t(d->choice("dither")),
                          uint32_t(d->integer("colours"))};
    return [=](const Image& image, ProgressCallback* progress) {
        return toIndexedColour(image, p, progress);
    };
}

void depthRemember(const ParamDialog& d) {
    reductionSetting(saveKey::PaletteType).set(uint32_t(d.choice("palette")));
    reductionSetting(saveKey::DitherType).set(uint32_t(d.choice("dither")));
}

// The image's resolution in the unit the dialog shows (dots per inch, or
// per centimetre), 72 dpi when it states none.
double shownResolution(double value, ResolutionUnit unit, bool metric) {
    if (unit == ResolutionUnit::PerInch) return metric ? value / 2.54 : value;
    if (unit == ResolutionUnit::PerMetre) return metric ? value / 100 : value * 0.0254;
    return metric ? 72 / 2.54 : 72;
}

void resolutionForm(ParamDialog& d, const Image& image) {
    const bool metric = settings::resolutionMode.get() == 1;
    d.addChoice("unit", tr("Unit"), {tr("Dots per inch"), tr("Dots per centimetre")}, metric);
    const Resolution& r = image.resolution;
    d.addReal("horizontal", tr("Horizontal"), 0.01, 1e6, shownResolution(r.x, r.unit, metric), 2);
    d.addReal("vertical", tr("Vertical"), 0.01, 1e6,
              shownResolution(r.y > 0 ? r.y : r.x, r.unit, metric), 2);
    d.addFlag("same", tr("Same in both directions"), settings::resolutionProportional.get());
}

Operation resolutionMake(const ParamDialog* d) {
    ResolutionSetting p;
    p.unit =
        d->choice("unit") == 1 ? ResolutionSetting::Unit::Metric : ResolutionSetting::Unit::English;
    p.horizontal = d->real("horizontal");
    p.vertical = d->flag("same") ? 0.0 : d->real("vertical");
    return [=](const Image& image, ProgressCallback* progress) {
        return setResolution(image, p, progress);
    };
}

void resolutionRemember(const ParamDialog& d) {
    settings::resolutionMode.set(uint32_t(d.choice("unit")));
    settings::resolutionProportional.set(d.flag("same"));
}

void percentSlider(ParamDialog& d, const char* name, const char* label) {
    d.addInteger(name, tr(label), -100, 100, 0, true);
}

void bccForm(ParamDialog& d, const Image&) {
    percentSlider(d, "brightness", "Brightness");
    percentSlider(d, "contrast", "Contrast");
    percentSlider(d, "color", "Colour (cool to warm)");
}
Operation bccMake(const ParamDialog* d) {
    const BrightnessContrastColour p{d->integer("brightness"), d->integer("contrast"),
                                     d->integer("color")};
    return [=](const Image& image, ProgressCallback* progress) {
        return adjustBrightnessContrastColour(image, p, progress);
    };
}

void rgbForm(ParamDialog& d, const Image&) {
    percentSlider(d, "red", "Red");
    percentSlider(d, "green", "Green");
    percentSlider(d, "blue", "Blue");
}
Operation rgbMake(const ParamDialog* d) {
    const RgbBalance p{d->integer("red"), d->integer("green"), d->integer("blue")};
    return [=](const Image& image, ProgressCallback* progress) {
        return adjustRgbBalance(image, p, progress);
    };
}

void gammaForm(ParamDialog& d, const Image&) {
    d.addReal("gamma", tr("Gamma"), 0.05, 20, 1.0, 2);
}
Operation gammaMake(const ParamDialog* d) {
    const GammaCorrection p{d->real("gamma")};
    return [=](const Image& image, ProgressCallback* progress) {
        return adjustGamma(image, p, progress);
    };
}

Operation solarizeMake(const ParamDialog* d) {
    const Solarize p{d->integer("threshold")};
    return [=](const Image& image, ProgressCallback* progress) {
        return solarize(image, p, progress);
    };
}

Operation blackWhiteMake(const ParamDialog* d) {
    const BlackWhite p{d->integer("threshold")};
    return [=](const Image& image, ProgressCallback* progress) {
        return toBlackAndWhite(image, p, progress);
    };
}

void strengthForm(ParamDialog& d, const Image&) {
    d.addInteger("strength", tr("Strength"), 1, 100, 50, true);
}
template <OpResult (*F)(const Image&, const FilterStrength&, ProgressCallback*, const Limits&)>
Operation strengthMake(const ParamDialog* d) {
    const FilterStrength p{d->integer("strength")};
    return
        [=](const Image& image, ProgressCallback* progress) { return F(image, p, progress, {}); };
}

// An operation without parameters.
template <OpResult (*F)(const Image&, ProgressCallback*)>
Operation plain(const ParamDialog*) {
    return [](const Image& image, ProgressCallback* progress) { return F(image, progress); };
}

OpResult turnClockwiseOp(const Image& i, ProgressCallback* p) {
    return turnClockwise(i, p);
}
OpResult turnAnticlockwiseOp(const Image& i, ProgressCallback* p) {
    return turnAnticlockwise(i, p);
}
OpResult turnHalfOp(const Image& i, ProgressCallback* p) {
    return mirror(i, {true, true}, p);
}
OpResult mirrorOp(const Image& i, ProgressCallback* p) {
    return mirror(i, {false, true}, p);
}
OpResult flipOp(const Image& i, ProgressCallback* p) {
    return mirror(i, {true, false}, p);
}
OpResult greyOp(const Image& i, ProgressCallback* p) {
    return toGreyscale(i, {}, p);
}
OpResult deepOp(const Image& i, ProgressCallback* p) {
    return toDeepColour(i, {}, p);
}
OpResult negativeOp(const Image& i, ProgressCallback* p) {
    return negative(i, {}, p);
}

}  // namespace

// The fixed convolution filters of the Filters menu: edge and special
// effects as plain kernels through the same engine as the user's filters.
ConvolutionFilter presetFilter(const char* id) {
    const std::string_view name = id;
    if (name == "edges") return {3, 3, {-1, -1, -1, -1, 8, -1, -1, -1, -1}, 1, 0, true};
    if (name == "edgesHorizontal") return {3, 3, {-1, -2, -1, 0, 0, 0, 1, 2, 1}, 1, 0, true};
    if (name == "edgesVertical") return {3, 3, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 1, 0, true};
    if (name == "emboss") return {3, 3, {-1, -1, 0, -1, 0, 1, 0, 1, 1}, 1, 128, false};
    if (name == "mean") return {3, 3, {1, 1, 1, 1, 1, 1, 1, 1, 1}, 9, 0, false};
    return {};
}

namespace {
template <const char* Id>
Operation presetMake(const ParamDialog*) {
    const ConvolutionFilter filter = presetFilter(Id);
    return [filter](const Image& image, ProgressCallback* progress) {
        return convolve(image, filter, progress);
    };
}
constexpr char kEdges[] = "edges";
constexpr char kEdgesH[] = "edgesHorizontal";
constexpr char kEdgesV[] = "edgesVertical";
constexpr char kEmboss[] = "emboss";
constexpr char kMean[] = "mean";

const OperationAction kActions[] = {
    {"Image", "resize", "&Resize...", "Resize", resizeForm, resizeMake, resizeRemember},
    {"Image", "rotate", "R&otate by Angle...", "Rotate", rotateForm, rotateMake, rotateRemember},
    {"Image", "turnClockwise", "Turn &Clockwise", "Turn Clockwise", nullptr, plain<turnClockwiseOp>,
     nullptr, false, true},
    {"Image", "turnAnticlockwise", "Turn &Anticlockwise", "Turn Anticlockwise", nullptr,
     plain<turnAnticlockwiseOp>},
    {"Image", "turnHalf", "Turn &180 Degrees", "Turn 180 Degrees", nullptr, plain<turnHalfOp>},
    {"Image", "mirror", "&Mirror Horizontally", "Mirror", nullptr, plain<mirrorOp>},
    {"Image", "flip", "&Flip Vertically", "Flip", nullptr, plain<flipOp>},
    {"Image", "blackWhite", "&Black and White...", "Black and White", thresholdForm, blackWhiteMake,
     nullptr, true, true},
    {"Image", "greyscale", "&Greyscale", "Greyscale", nullptr, plain<greyOp>},
    {"Image", "colourDepth", "Colour &Depth...", "Colour Depth", depthForm, depthMake,
     depthRemember, true},
    {"Image", "deepColour", "&True Colour (24 bits)", "True Colour", nullptr, plain<deepOp>},
    {"Image", "resolution", "Resolutio&n...", "Resolution", resolutionForm, resolutionMake,
     resolutionRemember, false, true},
    {"Colours", "brightnessContrast", "&Brightness/Contrast/Color...", "Brightness/Contrast/Color",
     bccForm, bccMake, nullptr, true},
    {"Colours", "rgbBalance", "&RGB Balance...", "RGB Balance", rgbForm, rgbMake, nullptr, true},
    {"Colours", "gamma", "&Gamma...", "Gamma", gammaForm, gammaMake, nullptr, true},
    {"Colours", "solarize", "&Solarize...", "Solarize", thresholdForm, solarizeMake, nullptr, true},
    {"Colours", "negative", "&Negative", "Negative", nullptr, plain<negativeOp>},
    {"Filters", "blur", "&Blur...", "Blur", strengthForm, strengthMake<blur>, nullptr, true},
    {"Filters", "soften", "S&often...", "Soften", strengthForm, strengthMake<soften>, nullptr,
     true},
    {"Filters", "sharpen", "&Sharpen...", "Sharpen", strengthForm, strengthMake<sharpen>, nullptr,
     true},
    {"Filters", "mean", "&Mean (3x3)", "Mean", nullptr, presetMake<kMean>},
    {"Filters", "edges", "&Edge Detect", "Edge Detect", nullptr, presetMake<kEdges>, nullptr, false,
     true},
    {"Filters", "edgesHorizontal", "&Horizontal Edges", "Horizontal Edges", nullptr,
     presetMake<kEdgesH>},
    {"Filters", "edgesVertical", "&Vertical Edges", "Vertical Edges", nullptr, presetMake<kEdgesV>},
    {"Filters", "emboss", "E&mboss", "Emboss", nullptr, presetMake<kEmboss>},
};

}  // namespace

std::span<const OperationAction> operationActions() {
    return kActions;
}

}  // namespace vivark::viewer
