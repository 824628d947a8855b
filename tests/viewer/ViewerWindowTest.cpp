// The viewer with widgets: what the view paints at 1:1 against Qt's own
// decoders (an independent reading of the same files), animation frames
// against Qt's GIF reader, the loader's superseding and messages, and the
// window's stepping through pages, files and the trash.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/settings/SettingKeys.h"
#include "app/viewer/ImageConvert.h"
#include "app/viewer/ImageLoader.h"
#include "app/viewer/ImageView.h"
#include "app/viewer/MainWindow.h"
#include "core/Messages.h"
#include "core/settings/MemoryStore.h"
#include "tests/viewer/ViewerTests.h"

using namespace vivark;
using namespace vivark::viewer;

namespace {

const QString kExamples = QStringLiteral(VIVARK_SOURCE_DIR "/examples/");
const QString kGood = QStringLiteral(VIVARK_SOURCE_DIR "/tests/viewer/good/");

// `image` as it looks drawn over black, 32 bits a pixel.
QImage overBlack(const QImage& image) {
    QImage out(image.size(), QImage::Format_RGB32);
    out.fill(Qt::black);
    QPainter painter(&out);
    painter.drawImage(0, 0, image);
    return out;
}

// The first pixel that differs by more than one step in a channel, or "".
QString firstDifference(const QImage& a, const QImage& b) {
    if (a.size() != b.size())
        return QStringLiteral("size %1x%2 vs %3x%4")
            .arg(a.width())
            .arg(a.height())
            .arg(b.width())
            .arg(b.height());
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

void ViewerWindowTest::initTestCase() {
    settings::setSettingsStore(std::make_shared<settings::MemoryStore>());
    settings::posCtrlAutosizeOnLoad.set(false);
    settings::posCtrlMode.set(0);
    settings::sequencerPreload.set(true);
}

void ViewerWindowTest::rendersDecodedPixels_data() {
    QTest::addColumn<QString>("path");
    for (const char* name : {"scene.png", "gradient.bmp", "palette.bmp", "grey.pgm"})
        QTest::newRow(name) << kExamples + QLatin1String(name);
    QTest::newRow("anim.gif") << kGood + QStringLiteral("anim.gif");
}

void ViewerWindowTest::rendersDecodedPixels() {
    QFETCH(QString, path);
    const auto outcome = loadNow({path});
    QVERIFY(outcome->completed);
    const QSize size(int(outcome->image.width()), int(outcome->image.height()));
    ImageView view;
    view.setFrameShape(QFrame::NoFrame);
    view.setScrollBarsShown(false);
    view.setBackground(Qt::black);
    view.resize(size + QSize(40, 30));
    view.setRules({false, FitMode::Both, true});
    view.setImage(outcome->display, size);
    QCOMPARE(view.zoom(), 1.0);
    const QImage shown = view.viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QRect where = view.imageRect().toRect();
    QCOMPARE(where.size(), size);
    QImageReader reader(path);
    const QImage expected = overBlack(reader.read());
    QVERIFY2(!expected.isNull(), qPrintable(reader.errorString()));
    const QString difference = firstDifference(shown.copy(where), expected);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
    // The margin around a centred image is the background.
    QCOMPARE(shown.pixel(0, 0), qRgb(0, 0, 0));
}

void ViewerWindowTest::animationMatchesQt() {
    const QString path = kGood + QStringLiteral("anim.gif");
    const auto outcome = loadNow({path});
    QVERIFY(outcome->animation);
    const AnimationFrames& animation = *outcome->animation;
    QCOMPARE(animation.loopCount, 2);  // repeats after the first round
    QImageReader reader(path);
    QCOMPARE(int(animation.frames.size()), reader.imageCount());
    for (size_t k = 0; k < animation.frames.size(); ++k) {
        QCOMPARE(animation.delaysMs[k], 200);
        const QImage expected = overBlack(reader.read());
        const QString difference = firstDifference(animation.frames[k], expected);
        QVERIFY2(difference.isEmpty(),
                 qPrintable(QStringLiteral("frame %1 %2").arg(k + 1).arg(difference)));
    }
    // Without Loading\Animate the file is one picture.
    LoadRequest still{path};
    still.animate = false;
    QVERIFY(!loadNow(still)->animation);
}

void ViewerWindowTest::loaderSupersedesAndReports() {
    ImageLoader loader;
    QSignalSpy finished(&loader, &ImageLoader::finished);
    loader.load({kExamples + QStringLiteral("scene.png")});
    const quint64 second = loader.load({kExamples + QStringLiteral("gradient.bmp")});
    QVERIFY(finished.wait(10000));
    QTest::qWait(100);
    QCOMPARE(finished.count(), 1);  // the superseded load is never reported
    auto outcome = finished[0][0].value<std::shared_ptr<LoadOutcome>>();
    QCOMPARE(outcome->id, second);
    QVERIFY(outcome->completed);

    // Failures come back with the system's message.
    QTemporaryDir temp;
    const QString junk = temp.filePath(QStringLiteral("junk.png"));
    QFile file(junk);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(300, '\x01'));
    file.close();
    finished.clear();
    loader.load({junk});
    QVERIFY(finished.wait(10000));
    outcome = finished[0][0].value<std::shared_ptr<LoadOutcome>>();
    QVERIFY(!outcome->completed);
    QCOMPARE(QString::fromStdString(formatMessage(outcome->message)),
             QStringLiteral("Unrecognized file format"));

    // A JPEG asked for a preview is decoded at a reduced scale; a full
    // preload of it serves the same request with the full image.
    LoadRequest preview{kGood + QStringLiteral("scene.jpg")};
    preview.previewSize = 40;
    const auto reduced = loadNow(preview);
    QVERIFY(reduced->preview);
    QCOMPARE(reduced->info.width, 160u);
    QVERIFY(reduced->image.width() < 160 && reduced->image.width() >= 40);
    loader.preload({preview.path});
    QTest::qWait(300);
    finished.clear();
    loader.load(preview);
    QVERIFY(finished.wait(10000));
    outcome = finished[0][0].value<std::shared_ptr<LoadOutcome>>();
    QVERIFY(outcome->completed && !outcome->preview);
    QCOMPARE(outcome->image.width(), 160u);

    // Rows shown while a PNG loads end as the finished image.
    auto canvas = std::make_shared<ProgressiveCanvas>();
    int shown = 0;
    const auto rows =
        loadNow({kExamples + QStringLiteral("scene.png")}, nullptr, canvas, [&shown] { ++shown; });
    QVERIFY(shown > 0);
    QCOMPARE(canvas->image, rows->display);
}

void ViewerWindowTest::windowStepsPagesAndFiles() {
    MainWindow window;
    window.resize(400, 300);
    window.show();
    // Pages of a multi-page file.
    window.openPaths({kGood + QStringLiteral("pages.tif")});
    waitSettled(window);
    QCOMPARE(window.pageCount(), 3u);
    window.nextPage();
    waitSettled(window);
    QCOMPARE(window.page(), 2u);
    QCOMPARE(pixelColour(window.document().image(), 0, 0), 0x0000FFu);
    window.previousPage();
    waitSettled(window);
    QCOMPARE(pixelColour(window.document().image(), 0, 0), 0xFF0000u);

    // The folder of one file is the sequence, and it wraps.
    window.openPaths({kExamples + QStringLiteral("scene.png")});
    waitSettled(window);
    QVERIFY2(window.statusText().contains(QStringLiteral("Portable Network Graphics")),
             qPrintable(window.statusText()));
    QCOMPARE(window.sequence().current(), kExamples + QStringLiteral("scene.png"));
    window.next();
    waitSettled(window);
    QCOMPARE(window.document().path(), kExamples + QStringLiteral("checker.pbm"));
    window.previous();
    waitSettled(window);
    QCOMPARE(window.document().path(), kExamples + QStringLiteral("scene.png"));
    QVERIFY(window.lastError().isEmpty());
}

void ViewerWindowTest::deleteGoesToTrash() {
    QTemporaryDir temp;
    qputenv("XDG_DATA_HOME", QFile::encodeName(temp.filePath(QStringLiteral("data"))));
    QDir(temp.path()).mkpath(QStringLiteral("pictures"));
    QDir(temp.path()).mkpath(QStringLiteral("data"));
    const QString a = temp.filePath(QStringLiteral("pictures/a.png"));
    const QString b = temp.filePath(QStringLiteral("pictures/b.bmp"));
    QVERIFY(QFile::copy(kExamples + QStringLiteral("scene.png"), a));
    QVERIFY(QFile::copy(kExamples + QStringLiteral("gradient.bmp"), b));
    settings::confirmDelete.set(false);
    MainWindow window;
    window.show();
    window.openPaths({a});
    waitSettled(window);
    window.deleteFile();
    QVERIFY(!QFile::exists(a));
    const QString trash = temp.filePath(QStringLiteral("data/Trash/"));
    QVERIFY(QFile::exists(trash + QStringLiteral("files/a.png")));
    QFile info(trash + QStringLiteral("info/a.png.trashinfo"));
    QVERIFY(info.open(QIODevice::ReadOnly));
    const QByteArray record = info.readAll();
    QVERIFY2(record.startsWith("[Trash Info]") && record.contains("Path="), record.constData());
    // Loading\LoadNextOnDelete shows the next file.
    waitSettled(window);
    QCOMPARE(window.document().path(), b);
    settings::confirmDelete.set(true);
}
