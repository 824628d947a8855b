// The viewer with widgets: what the view paints at 1:1 and the animation
// frames against Qt's own decoders (an independent reading of the same
// files), the loader's superseding and messages, the window's stepping, the
// trash, the rubber band crop, dropped files and gliding scrolls.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QImageReader>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include "app/settings/SettingKeys.h"
#include "app/viewer/ImageConvert.h"
#include "app/viewer/ImageLoader.h"
#include "app/viewer/ImageView.h"
#include "app/viewer/MainWindow.h"
#include "app/viewer/edit/EditMenus.h"
#include "app/viewer/edit/OperationRunner.h"
#include "core/Messages.h"

using namespace vivark;
using namespace vivark::viewer;

namespace {

const QString kExamples = QStringLiteral(VIVARK_SOURCE_DIR "/examples/");
const QString kGood = QStringLiteral(VIVARK_SOURCE_DIR "/tests/viewer/good/");

// `image` as it looks drawn over black, 32 bits a pixel.
QImage overBlack(const QImage& image) {
    QImage out(image.size(), QImage::Format_RGB32);
    out.fill(Qt::black);
    QPainter(&out).drawImage(0, 0, image);
    return out;
}

// The first pixel that differs by more than one step in a channel, or "".
QString firstDifference(const QImage& a, const QImage& b) {
    if (a.size() != b.size()) return QStringLiteral("sizes differ");
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            if (std::abs(qRed(p) - qRed(q)) > 1 || std::abs(qGreen(p) - qGreen(q)) > 1 ||
                std::abs(qBlue(p) - qBlue(q)) > 1)
                return QStringLiteral("(%1, %2): %3 vs %4")
                    .arg(x)
                    .arg(y)
                    .arg(p, 8, 16)
                    .arg(q, 8, 16);
        }
    return {};
}

void waitSettled(MainWindow& window) {
    QSignalSpy settled(&window, &MainWindow::settled);
    if (window.isLoading()) QVERIFY(settled.wait(10000));
}

}  // namespace

class ViewerWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        settings::posCtrlAutosizeOnLoad.set(false);
        settings::posCtrlMode.set(0);
        // Images at the top-left: viewport points map to whole image pixels.
        settings::viewCenterImage.set(false);
    }

    void rendersDecodedPixels_data() {
        QTest::addColumn<QString>("path");
        for (const char* name : {"scene.png", "gradient.bmp", "palette.bmp", "grey.pgm"})
            QTest::newRow(name) << kExamples + QLatin1String(name);
        QTest::newRow("anim.gif") << kGood + QStringLiteral("anim.gif");
        QTest::newRow("clear.gif") << kGood + QStringLiteral("clear.gif");
    }

    void rendersDecodedPixels() {
        QFETCH(QString, path);
        const auto outcome = loadNow({path});
        QVERIFY(outcome->completed);
        const QSize size(int(outcome->image.width()), int(outcome->image.height()));
        ImageView view;
        view.setScrollBarsShown(false);
        view.setBackground(Qt::black);
        view.resize(size + QSize(40, 30));
        view.setRules({false, FitMode::Both, true});
        view.setImage(outcome->display, size);
        const QImage shown =
            view.viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32);
        const QRect where = view.imageRect().toRect();
        QCOMPARE(where.size(), size);
        const QImage expected = overBlack(QImageReader(path).read());
        const QString difference = firstDifference(shown.copy(where), expected);
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
        QCOMPARE(shown.pixel(0, 0), qRgb(0, 0, 0));  // the margin of a centred image
    }

    void animationMatchesQt() {
        const QString path = kGood + QStringLiteral("anim.gif");
        const auto outcome = loadNow({path});
        QVERIFY(outcome->animation);
        const AnimationFrames& animation = *outcome->animation;
        QCOMPARE(animation.loopCount, 2);  // repeats after the first round
        QImageReader reader(path);
        QCOMPARE(int(animation.frames.size()), reader.imageCount());
        for (size_t k = 0; k < animation.frames.size(); ++k) {
            QCOMPARE(animation.delaysMs[k], 200);
            const QString difference =
                firstDifference(animation.frames[k], overBlack(reader.read()));
            QVERIFY2(difference.isEmpty(), qPrintable(difference));
        }
        LoadRequest still{path};
        still.animate = false;  // Loading\Animate off: one picture
        QVERIFY(!loadNow(still)->animation);
    }

    void loaderSupersedesAndReports() {
        ImageLoader loader;
        QSignalSpy finished(&loader, &ImageLoader::finished);
        loader.load({kExamples + QStringLiteral("scene.png")});
        const quint64 second = loader.load({kExamples + QStringLiteral("gradient.bmp")});
        QVERIFY(finished.wait(10000));
        QTest::qWait(100);
        QCOMPARE(finished.count(), 1);  // the superseded load is never reported
        QCOMPARE(finished[0][0].value<std::shared_ptr<LoadOutcome>>()->id, second);

        // Failures come back with the system's message.
        const auto failed = loadNow({kGood + QStringLiteral("README.md")});
        QVERIFY(!failed->completed);
        QCOMPARE(formatMessage(failed->message), std::string("Unrecognized file format"));

        // A JPEG asked for a preview is decoded at a reduced scale.
        LoadRequest preview{kGood + QStringLiteral("scene.jpg")};
        preview.previewSize = 40;
        const auto reduced = loadNow(preview);
        QVERIFY(reduced->preview && reduced->info.width == 160);
        QVERIFY(reduced->image.width() < 160 && reduced->image.width() >= 40);

        // Rows shown while a PNG loads end as the finished image.
        auto canvas = std::make_shared<ProgressiveCanvas>();
        int shown = 0;
        const auto rows = loadNow({kExamples + QStringLiteral("scene.png")}, nullptr, canvas,
                                  [&shown] { ++shown; });
        QVERIFY(shown > 0);
        QCOMPARE(canvas->image, rows->display);
    }

    void windowStepsPagesAndFiles() {
        MainWindow window;
        window.show();
        window.openPaths({kGood + QStringLiteral("pages.tif")});
        waitSettled(window);
        QCOMPARE(window.pageCount(), 3u);
        window.nextPage();
        waitSettled(window);
        QCOMPARE(pixelColour(window.document().image(), 0, 0), 0x0000FFu);
        // The folder of one file is the sequence, and it wraps.
        window.openPaths({kExamples + QStringLiteral("scene.png")});
        waitSettled(window);
        QVERIFY2(window.statusText().contains(QStringLiteral("Portable Network Graphics")),
                 qPrintable(window.statusText()));
        window.next();
        waitSettled(window);
        QCOMPARE(window.document().path(), kExamples + QStringLiteral("checker.pbm"));
        window.previous();
        waitSettled(window);
        QCOMPARE(window.document().path(), kExamples + QStringLiteral("scene.png"));
    }

    void deleteGoesToTrash() {
        QTemporaryDir temp;
        qputenv("XDG_DATA_HOME", QFile::encodeName(temp.path()));
        const QString a = temp.filePath(QStringLiteral("a.png"));
        const QString b = temp.filePath(QStringLiteral("b.bmp"));
        QVERIFY(QFile::copy(kExamples + QStringLiteral("scene.png"), a));
        QVERIFY(QFile::copy(kExamples + QStringLiteral("gradient.bmp"), b));
        settings::confirmDelete.set(false);
        MainWindow window;
        window.openPaths({a});
        waitSettled(window);
        window.deleteFile();
        QVERIFY(!QFile::exists(a));
        QVERIFY(QFile::exists(temp.filePath(QStringLiteral("Trash/files/a.png"))));
        waitSettled(window);  // Loading\LoadNextOnDelete shows the next file
        QCOMPARE(window.document().path(), b);
        settings::confirmDelete.reset();
    }

    // A drag from `from` to `to` (image coordinates) at a zoom and scroll
    // selects `expected`; crop takes exactly those pixels, undo restores.
    void rubberBandCrops_data() {
        QTest::addColumn<double>("zoom");
        QTest::addColumn<QPoint>("scroll");
        QTest::addColumn<QPointF>("from");
        QTest::addColumn<QPointF>("to");
        QTest::addColumn<QRect>("expected");
        QTest::newRow("4x, scrolled")
            << 4.0 << QPoint(60, 40) << QPointF(20, 12) << QPointF(35, 30) << QRect(20, 12, 15, 18);
        QTest::newRow("1/2, dragged up and left")
            << 0.5 << QPoint() << QPointF(50, 46) << QPointF(10, 6) << QRect(10, 6, 40, 40);
        QTest::newRow("past the edge is clamped")
            << 1.0 << QPoint() << QPointF(150, 100) << QPointF(190, 150) << QRect(150, 100, 10, 20);
    }

    void rubberBandCrops() {
        QFETCH(double, zoom);
        QFETCH(QPoint, scroll);
        QFETCH(QPointF, from);
        QFETCH(QPointF, to);
        QFETCH(QRect, expected);
        const QString path = kExamples + QStringLiteral("scene.png");
        MainWindow window;
        window.resize(500, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.openPaths({path});
        waitSettled(window);
        ImageView* view = window.view();
        view->setZoom(zoom);
        view->horizontalScrollBar()->setValue(scroll.x());
        view->verticalScrollBar()->setValue(scroll.y());
        auto at = [&](QPointF p) { return (p * zoom - QPointF(scroll)).toPoint(); };
        QTest::mousePress(view->viewport(), Qt::LeftButton, {}, at(from));
        QTest::mouseMove(view->viewport(), at(to));
        QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, at(to));
        QCOMPARE(view->selection(), expected);
        QVERIFY2(window.statusText().contains(
                     QStringLiteral("%1 x %2 at").arg(expected.width()).arg(expected.height())),
                 qPrintable(window.statusText()));

        window.findChild<QAction*>(QStringLiteral("crop"))->trigger();
        window.findChild<EditMenus*>()->runner()->wait();
        QCOMPARE(window.document().image().width(), uint32_t(expected.width()));
        const QImage cropped = QImageReader(path).read().copy(expected);
        const QString difference = firstDifference(toDisplayImage(window.document().image()),
                                                   cropped.convertToFormat(QImage::Format_RGB32));
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
        QVERIFY(view->selection().isEmpty());
        window.findChild<QAction*>(QStringLiteral("undo"))->trigger();
        QCOMPARE(window.document().image().width(), 160u);

        // A click without a drag, or Esc, clears a selection.
        view->setSelection({1, 1, 5, 5});
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at(from));
        QVERIFY(view->selection().isEmpty());
        view->setSelection({1, 1, 5, 5});
        QTest::keyClick(view, Qt::Key_Escape);
        QVERIFY(view->selection().isEmpty());
        QVERIFY(!window.findChild<QAction*>(QStringLiteral("crop"))->isEnabled());
    }

    // Local files dropped on the window open as a command line of them does.
    void dropOpensLocalFiles_data() {
        QTest::addColumn<QList<QUrl>>("urls");
        QTest::addColumn<QString>("shown");         // empty: the drop is refused
        QTest::addColumn<QStringList>("sequence");  // empty: the folder of `shown`
        const QString scene = kExamples + QStringLiteral("scene.png");
        const QString pages = kGood + QStringLiteral("pages.tif");
        const QUrl remote(QStringLiteral("https://example.com/a.png"));
        const auto url = [](const QString& p) { return QUrl::fromLocalFile(p); };
        QTest::newRow("one file, its folder") << QList{url(scene)} << scene << QStringList{};
        QTest::newRow("several, the first shown")
            << QList{url(pages), remote, url(scene)} << pages << QStringList{pages, scene};
        QTest::newRow("remote only") << QList{remote} << QString() << QStringList{};
    }

    void dropOpensLocalFiles() {
        QFETCH(QList<QUrl>, urls);
        QFETCH(QString, shown);
        QFETCH(QStringList, sequence);
        QMimeData data;
        data.setUrls(urls);
        MainWindow window;
        window.show();
        QDragEnterEvent enter({20, 20}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window, &enter);
        QCOMPARE(enter.isAccepted(), !shown.isEmpty());
        QDropEvent drop(QPointF(20, 20), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window, &drop);
        waitSettled(window);
        QCOMPARE(window.document().path(), shown);
        if (!sequence.isEmpty())
            QCOMPARE(window.sequence().files(), sequence);
        else if (!shown.isEmpty())
            QVERIFY(window.sequence().count() > 2);
    }

    // The wheel and the arrow keys glide to where a jump lands
    // (Display\SmoothScroll), and jump when gliding is off.
    void scrollingGlides() {
        ImageView view;
        view.resize(200, 150);
        view.setRules({false, FitMode::Both, false});
        QImage picture(800, 600, QImage::Format_RGB32);
        picture.fill(Qt::gray);
        view.setImage(picture, picture.size());
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QScrollBar* bar = view.verticalScrollBar();
        const int notches = 2 * QApplication::wheelScrollLines() * bar->singleStep();
        QWheelEvent wheel({50, 50}, view.mapToGlobal(QPointF(50, 50)), {}, {0, -240}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view.viewport(), &wheel);
        QCOMPARE(bar->value(), 0);  // a glide starts where it was
        QTRY_COMPARE(bar->value(), notches);
        QTest::keyClick(&view, Qt::Key_Down);
        QTRY_COMPARE(bar->value(), notches + bar->singleStep());
        view.setSmoothScroll(false);
        QApplication::sendEvent(view.viewport(), &wheel);
        QCOMPARE(bar->value(), 2 * notches + bar->singleStep());
    }
};

QObject* makeViewerWindowTest() {
    return new ViewerWindowTest;
}

#include "ViewerWindowTest.moc"
