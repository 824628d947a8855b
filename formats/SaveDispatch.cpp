// The writer table and the save sequence (convert, write to a temporary file,
// commit).
#include "formats/SaveDispatch.h"

#include <optional>
#include <vector>

#include "core/Errors.h"
#include "core/SafeOutFile.h"
#include "formats/DepthConvert.h"
#include "formats/FormatTable.h"
#include "ops/ColourReduce.h"

namespace vivark {
namespace {

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

}  // namespace

std::span<const WriterEntry* const> writerTable() {
    static const std::vector<const WriterEntry*> writers = [] {
        std::vector<const WriterEntry*> list;
        for (const FormatEntry* entry : formatTable())
            for (const WriterEntry& writer : entry->writers) list.push_back(&writer);
        return list;
    }();
    return writers;
}

const WriterEntry* findWriterByName(std::string_view name) {
    for (const WriterEntry* w : writerTable()) {
        if (sameIgnoringCase(w->menuName, name)) return w;
        for (std::string_view s : w->shortNames)
            if (sameIgnoringCase(s, name)) return w;
    }
    return nullptr;
}

const WriterEntry* findWriterByExtension(std::string_view extension) {
    if (!extension.empty() && extension.front() == '.') extension.remove_prefix(1);
    for (const WriterEntry* w : writerTable())
        for (std::string_view e : w->extensions)
            if (sameIgnoringCase(e, extension)) return w;
    return nullptr;
}

const WriterEntry* findWriterByTag(FormatTag tag) {
    for (const WriterEntry* w : writerTable())
        if (w->formatTag == tag) return w;
    return nullptr;
}

std::string formatNameOf(FormatTag tag, FormatTag namedAs, const FormatEntry* family) {
    if (family == nullptr) family = findFormatEntry(tag);
    const FormatTag naming = namedAs != 0 ? namedAs : tag;
    if (family == nullptr) {
        const WriterEntry* writer = findWriterByTag(naming);
        if (writer == nullptr) writer = findWriterByTag(tag);
        return writer != nullptr ? std::string(writer->menuName) : tagText(tag);
    }
    if (family->writers.size() > 1)
        for (const WriterEntry& writer : family->writers)
            if (writer.formatTag == naming) return std::string(writer.menuName);
    return family->name;
}

namespace {

// A writer whose 24-bit form is optional takes 24 bits only when the user
// enabled it.
bool takesTrueColour(const WriterEntry& writer, const SaveOptions& options) {
    if (!writer.accepts(24)) return false;
    return writer.trueColourKey.empty() || options.flag(writer.trueColourKey);
}

// The widest palette depth the writer takes, 0 when none.
uint32_t widestPaletteDepth(const WriterEntry& writer) {
    for (uint32_t bits : {8u, 4u, 1u})
        if (writer.accepts(bits)) return bits;
    return 0;
}

void throwIfCancelled(bool completed) {
    if (!completed) throw OUTFILEERROR::Cancelled;
}

Image toBlackAndWhite(const Image& image, const SaveOptions& options, ProgressCallback* progress) {
    Image bw = image;
    throwIfCancelled(
        reduceToBlackAndWhite(bw, uint32_t(options.integer(saveKey::DitherType)), progress));
    return packBlackAndWhite(bw);
}

// Reduces to the colours of the writer's widest palette depth with the
// user's palette and dither types.
Image toPalette(const Image& image, const WriterEntry& writer, const SaveOptions& options,
                ProgressCallback* progress) {
    const uint32_t bits = widestPaletteDepth(writer);
    if (bits == 0) throw SAVEERROR::NeedsColourReduction;
    if (bits == 1) return toBlackAndWhite(image, options, progress);
    const uint32_t wanted = 1u << bits;
    // Few enough colours: the image's own, exactly, whatever the reduction
    // settings say (there is nothing to reduce).
    if (std::optional<Image> exact = exactPalette(image, wanted)) {
        return bits == 8 ? std::move(*exact) : widenIndices(*exact, bits);
    }
    const uint32_t dither = uint32_t(options.integer(saveKey::DitherType));
    Image reduced = image;
    auto count = reduceColours(reduced, wanted, uint32_t(options.integer(saveKey::PaletteType)),
                               dither, progress);
    throwIfCancelled(count.has_value());
    if (*count > wanted) {  // a cube larger than the format holds: adaptive instead
        reduced = image;
        count = reduceColours(reduced, wanted, uint32_t(PaletteType::Adaptive), dither, progress);
        throwIfCancelled(count.has_value());
    }
    if (writer.accepts(reduced.bitsPerPixel())) return reduced;
    // Widens, or packs an 8-bit result of 16 colours or fewer for a 4-bit writer.
    return widenIndices(reduced, bits);
}

}  // namespace

Image convertForWriter(const Image& image, const WriterEntry& writer, const SaveOptions& options,
                       ProgressCallback* progress) {
    const uint32_t bits = image.bitsPerPixel();
    if (!image.hasPalette()) {
        if (writer.colourNeed == ColourNeed::BlackAndWhite)
            return toBlackAndWhite(image, options, progress);
        if (writer.colourNeed == ColourNeed::Grey) throw SAVEERROR::NeedsColourReduction;
        if (takesTrueColour(writer, options)) return image;
        return toPalette(image, writer, options, progress);
    }
    if (writer.colourNeed == ColourNeed::BlackAndWhite && !image.isBlackAndWhite())
        return toBlackAndWhite(image, options, progress);
    if (writer.colourNeed == ColourNeed::Grey && !image.isGrey())
        throw SAVEERROR::NeedsColourReduction;
    // A transparent index that the format cannot name lives on as alpha
    // where the format stores alpha beside true colour (Targa, TIFF, SGI):
    // a transparent GIF stays transparent there, as other tools convert it.
    if (image.transparentIndex && image.secondPlaneKind == SecondPlane::None &&
        !(writer.keeps & kKeepsTransparentIndex) && (writer.keeps & kKeepsAlpha) &&
        takesTrueColour(writer, options))
        return expandToTrueColour(image);
    if (writer.accepts(bits)) return image;
    for (uint32_t wider : {4u, 8u})
        if (wider > bits && writer.accepts(wider)) return widenIndices(image, wider);
    if (takesTrueColour(writer, options)) return expandToTrueColour(image);
    if (writer.accepts(1) && image.isBlackAndWhite()) return packBlackAndWhite(image);
    return toPalette(image, writer, options, progress);
}

void saveImageTo(const Image& image, int descriptor, const WriterEntry& writer,
                 const SaveOptions& options, ProgressCallback* progress) {
    const Image converted = convertForWriter(image, writer, options, progress);
    SafeOutFile file(descriptor);
    writer.write(converted, file.out(), options, progress);
    file.commit();
}

void saveImage(const Image& image, const std::filesystem::path& target, const WriterEntry& writer,
               const SaveOptions& options, ProgressCallback* progress) {
    const Image converted = convertForWriter(image, writer, options, progress);
    SafeOutFile file(target);
    writer.write(converted, file.out(), options, progress);
    file.commit();
}

void saveImagePages(std::span<const Image> pages, const std::filesystem::path& target,
                    const WriterEntry& writer, const SaveOptions& options,
                    ProgressCallback* progress) {
    if (pages.empty()) return;
    if (writer.writePages == nullptr || pages.size() == 1) {
        saveImage(pages.front(), target, writer, options, progress);
        return;
    }
    std::vector<Image> converted;
    converted.reserve(pages.size());
    for (const Image& page : pages)
        converted.push_back(convertForWriter(page, writer, options, progress));
    SafeOutFile file(target);
    writer.writePages(converted, file.out(), options, progress);
    file.commit();
}

}  // namespace vivark
