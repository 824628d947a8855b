// The edit menus against the operations they stand for: every action of the
// Image, Colours and Filters menus, with its dialog filled in, gives the
// image the ops/ function gives, and undo and redo restore both exactly;
// the filter and palette editors; copy and paste.
#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <functional>
#include <set>

#include "EditTestSupport.h"
#include "app/settings/SettingKeys.h"
#include "app/viewer/edit/Document.h"
#include "app/viewer/edit/EditMenus.h"
#include "app/viewer/edit/OperationActions.h"
#include "app/viewer/edit/OperationRunner.h"
#include "app/viewer/edit/PaletteEditor.h"
#include "app/viewer/edit/QtImage.h"
#include "ops/ColourAdjust.h"
#include "ops/ColourDepth.h"
#include "ops/Convolution.h"
#include "ops/Mirror.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"
#include "ops/SetResolution.h"

using namespace vivark;
using namespace vivark::viewer;
using namespace vivark::viewer::test;

namespace {

struct Case {
    const char* id;
    QVariantMap values;  // dialog controls by name
    std::function<OpResult(const Image&)> direct;
};

const Colour kFill = 0x102030;

// clang-format off
std::vector<Case> cases() {
    using I = const Image&;
    using Unit = ResolutionSetting::Unit;
    constexpr auto kDegree = kAngleUnitsPerDegree;
    return {
        {"resize", {{"mode", 0}, {"width", 20}, {"height", 30}, {"box", 1}, {"resample", true}},
         [](I i) { return resizeResampled(i, {20, 13, 0, 0}); }},
        {"resize", {{"mode", 0}, {"width", 20}, {"height", 30}, {"box", 2}, {"resample", false},
                    {"fill", "#102030"}},
         [](I i) { return resizePoint(i, {20, 30, resizeFlag::Centred, kFill}); }},
        {"resize", {{"mode", 1}, {"percent", 50.0}, {"resample", true}},
         [](I i) { return resizeResampled(i, {19, 12, 0, 0}); }},
        {"rotate", {{"angle", 30.0}, {"resample", false}},
         [](I i) { return rotatePoint(i, {30 * kDegree, 0, false}); }},
        {"rotate", {{"angle", -12.5}, {"resample", true}, {"cropInside", true},
                    {"fill", "#102030"}},
         [](I i) { return rotateResampled(i, {-int32_t(12.5 * kDegree), kFill, true}); }},
        {"turnClockwise", {}, [](I i) { return turnClockwise(i); }},
        {"turnAnticlockwise", {}, [](I i) { return turnAnticlockwise(i); }},
        {"turnHalf", {}, [](I i) { return mirror(i, {true, true}); }},
        {"mirror", {}, [](I i) { return mirror(i, {false, true}); }},
        {"flip", {}, [](I i) { return mirror(i, {true, false}); }},
        {"blackWhite", {{"threshold", 100}}, [](I i) { return toBlackAndWhite(i, {100}); }},
        {"greyscale", {}, [](I i) { return toGreyscale(i); }},
        {"colourDepth", {{"colours", 16}, {"palette", 0}, {"dither", 0}},
         [](I i) { return toIndexedColour(i, {0, 0, 16}); }},
        {"colourDepth", {{"colours", 200}, {"palette", 5}, {"dither", 1}},
         [](I i) { return toIndexedColour(i, {5, 1, 200}); }},
        {"deepColour", {}, [](I i) { return toDeepColour(i); }},
        {"resolution", {{"unit", 1}, {"horizontal", 40.0}, {"vertical", 20.0}, {"same", false}},
         [](I i) { return setResolution(i, {40, 20, Unit::Metric}); }},
        {"resolution", {{"unit", 0}, {"horizontal", 300.0}, {"vertical", 20.0}, {"same", true}},
         [](I i) { return setResolution(i, {300, 0, Unit::English}); }},
        {"brightnessContrast", {{"brightness", 10}, {"contrast", 20}, {"color", -30}},
         [](I i) { return adjustBrightnessContrastColour(i, {10, 20, -30}); }},
        {"rgbBalance", {{"red", 5}, {"green", -5}, {"blue", 10}},
         [](I i) { return adjustRgbBalance(i, {5, -5, 10}); }},
        {"gamma", {{"gamma", 2.2}}, [](I i) { return adjustGamma(i, {2.2}); }},
        {"solarize", {{"threshold", 100}}, [](I i) { return solarize(i, {100}); }},
        {"negative", {}, [](I i) { return negative(i); }},
        {"blur", {{"strength", 70}}, [](I i) { return blur(i, {70}); }},
        {"soften", {{"strength", 70}}, [](I i) { return soften(i, {70}); }},
        {"sharpen", {{"strength", 70}}, [](I i) { return sharpen(i, {70}); }},
        {"mean", {}, [](I i) { return convolve(i, {3, 3, std::vector(9, 1), 9, 0, false}); }},
        {"edges", {}, [](I i) { return convolve(i, presetFilter("edges")); }},
        {"edgesHorizontal", {}, [](I i) { return convolve(i, presetFilter("edgesHorizontal")); }},
        {"edgesVertical", {}, [](I i) { return convolve(i, presetFilter("edgesVertical")); }},
        {"emboss", {}, [](I i) { return convolve(i, presetFilter("emboss")); }},
    };
}
// clang-format on

// A window with the menus installed over a document holding `image`.
struct Editor {
    QMainWindow window;
    Document* document = new Document(&window);
    EditMenus* menus = installEditMenus(&window, window.menuBar(), document);

    explicit Editor(const Image& image) { document->setLoaded(image, QString()); }

    // Triggers the action; the dialog it opens (if any) gets `values` and is
    // accepted. False when a named control is missing.
    bool trigger(const char* id, const QVariantMap& values) {
        bool controlsFound = true;
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            for (auto it = values.begin(); it != values.end(); ++it)
                controlsFound = setControl(dialog, it.key(), it.value()) && controlsFound;
            dialog->accept();
        });
        menus->actionNamed(id)->trigger();
        menus->runner()->wait();
        return controlsFound;
    }
};

}  // namespace

class EditActionsTest : public QObject {
    Q_OBJECT
  private slots:
    // Filter files and the like go to a test folder, not the user's.
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void actionsMatchTheOperations() {
        std::set<std::string> tested;
        for (const Case& c : cases()) tested.insert(c.id);
        for (const OperationAction& action : operationActions())
            QVERIFY2(tested.count(action.id), action.id);
        for (const Image& source : {colourSample(), greySample()}) {
            for (const Case& c : cases()) {
                Editor editor(source);
                QVERIFY2(editor.trigger(c.id, c.values), c.id);
                const OpResult expected = c.direct(source);
                QVERIFY(expected);
                QVERIFY2(sameImage(editor.document->image(), *expected), c.id);
                QVERIFY(editor.document->isModified());
                editor.menus->actionNamed("undo")->trigger();
                QVERIFY2(sameImage(editor.document->image(), source), c.id);
                editor.menus->actionNamed("redo")->trigger();
                QVERIFY2(sameImage(editor.document->image(), *expected), c.id);
            }
        }
    }

    void undoHistory() {
        // A new step after an undo drops the steps that were undone; with
        // "Undo\Enabled" off no step is kept.
        Editor editor(colourSample());
        for (const char* id : {"mirror", "turnClockwise"}) editor.trigger(id, {});
        editor.document->undo();
        editor.trigger("flip", {});
        QVERIFY(!editor.document->canRedo());
        editor.document->undo();
        editor.document->undo();
        QVERIFY(sameImage(editor.document->image(), colourSample()));
        settings::undoEnabled.set(false);
        Editor off(colourSample());
        off.trigger("mirror", {});
        QVERIFY(!off.menus->actionNamed("undo")->isEnabled());
        settings::undoEnabled.reset();
    }

    void editorsApplyTheirContent() {
        // The filter editor's grid, centred in its cells, is the filter applied.
        const Image source = colourSample();
        Editor editor(source);
        QVariantMap grid{{"name", "sharp"}, {"divisor", "1"}, {"bias", "0"}};
        const int kernel[3][3] = {{0, -1, 0}, {-1, 5, -1}, {0, -1, 0}};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                grid[QString("cell%1_%2").arg(c + 3).arg(r + 3)] = QString::number(kernel[r][c]);
        QVERIFY(editor.trigger("filterEditor", grid));
        const OpResult expected =
            convolve(source, {3, 3, {0, -1, 0, -1, 5, -1, 0, -1, 0}, 1, 0, false});
        QVERIFY(sameImage(editor.document->image(), *expected));

        // An edited palette entry recolours the pixels that use it.
        Editor palette(greySample());
        QTimer::singleShot(0, [] {
            auto* dialog = qobject_cast<PaletteEditor*>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            dialog->setEntry(0, 0xFF0000);
            dialog->accept();
        });
        palette.menus->actionNamed("editPalette")->trigger();
        palette.menus->runner()->wait();
        const QImage shown = toQImage(palette.document->image());
        QCOMPARE(shown.pixel(0, 0), qRgb(255, 0, 0));
        QCOMPARE(shown.pixel(1, 0), toQImage(greySample()).pixel(1, 0));
    }

    void clipboardRoundTrip() {
        for (const Image& source : {colourSample(), greySample()}) {
            Editor editor(source);
            editor.menus->actionNamed("copy")->trigger();
            editor.document->apply(colourSample(5, 5), "Other");
            editor.menus->actionNamed("paste")->trigger();
            QCOMPARE(toQImage(editor.document->image()), toQImage(source));
            QCOMPARE(editor.document->image().bitsPerPixel(), source.bitsPerPixel());
        }
    }
};

QObject* makeEditActionsTest() {
    return new EditActionsTest;
}

#include "EditActionsTest.moc"
