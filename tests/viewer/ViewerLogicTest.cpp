// The viewer's logic without windows: fit and zoom arithmetic, the file
// sequence over a folder, slide show lists and the slide timer.
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

#include "app/viewer/FileSequence.h"
#include "app/viewer/SlideShow.h"
#include "app/viewer/ViewGeometry.h"
#include "tests/viewer/ViewerTests.h"

using namespace vivark::viewer;

namespace {

void touch(const QDir& dir, const QString& name, int bytes, int ageSeconds) {
    QFile file(dir.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(bytes, 'x'));
    file.flush();  // a later write would set the time again
    file.setFileTime(QDateTime::currentDateTime().addSecs(-ageSeconds),
                     QFileDevice::FileModificationTime);
}

QStringList names(const QStringList& paths) {
    QStringList out;
    for (const QString& p : paths) out << QFileInfo(p).fileName();
    return out;
}

}  // namespace

void ViewerLogicTest::fitZoom_data() {
    QTest::addColumn<QSizeF>("image");
    QTest::addColumn<QSizeF>("viewport");
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("fit");
    QTest::addColumn<double>("zoom");
    QTest::newRow("large shrinks") << QSizeF(2000, 1000) << QSizeF(500, 500) << 0 << true << 0.25;
    QTest::newRow("large, enlarge only")
        << QSizeF(2000, 1000) << QSizeF(500, 500) << 1 << true << 1.0;
    QTest::newRow("small stays") << QSizeF(100, 50) << QSizeF(500, 500) << 0 << true << 1.0;
    QTest::newRow("small enlarges") << QSizeF(100, 50) << QSizeF(500, 500) << 1 << true << 5.0;
    QTest::newRow("both ways, tall") << QSizeF(100, 400) << QSizeF(500, 200) << 2 << true << 0.5;
    QTest::newRow("fit off") << QSizeF(2000, 1000) << QSizeF(500, 500) << 2 << false << 1.0;
    QTest::newRow("empty viewport") << QSizeF(200, 100) << QSizeF(0, 0) << 2 << true << 1.0;
    QTest::newRow("one pixel into a huge view")
        << QSizeF(1, 1) << QSizeF(4000, 4000) << 2 << true << kMaxZoom;
}

void ViewerLogicTest::fitZoom() {
    QFETCH(QSizeF, image);
    QFETCH(QSizeF, viewport);
    QFETCH(int, mode);
    QFETCH(bool, fit);
    QFETCH(double, zoom);
    const ViewRules rules{fit, fitModeFromSetting(unsigned(mode)), true};
    QCOMPARE(vivark::viewer::fitZoom(image, viewport, rules), zoom);
}

void ViewerLogicTest::zoomSteps() {
    // In and out walk the same ladder, and stop at its ends.
    double zoom = 1.0;
    for (int i = 0; i < 40; ++i) zoom = nextZoomIn(zoom);
    QCOMPARE(zoom, kMaxZoom);
    for (int i = 0; i < 80; ++i) zoom = nextZoomOut(zoom);
    QCOMPARE(zoom, kMinZoom);
    for (double z : {1.0 / 8, 2.0 / 3, 1.0, 3.0}) QCOMPARE(nextZoomOut(nextZoomIn(z)), z);
    // An off-ladder zoom (a fit) goes to the next rung, not past it.
    QCOMPARE(nextZoomIn(0.3), 1.0 / 3);
    QCOMPARE(nextZoomOut(0.3), 1.0 / 4);
}

void ViewerLogicTest::zoomAroundPointer() {
    // The image point under the anchor stays under it across a zoom.
    const QSizeF viewport(400, 300);
    for (const auto& [zoomFrom, zoomTo, anchor] :
         {std::tuple{1.0, 2.0, QPointF(100, 80)}, std::tuple{2.0, 0.5, QPointF(399, 0)},
          std::tuple{0.5, 4.0, QPointF(200, 150)}}) {
        const QSizeF image(4000, 3000);
        const QPointF scroll = clampScroll({600, 500}, image * zoomFrom, viewport);
        const QRectF before = imageRectInViewport(image * zoomFrom, viewport, scroll, true);
        const QPointF pixel = (anchor - before.topLeft()) / zoomFrom;
        const QPointF after = scrollForZoomAround(scroll, anchor, zoomFrom, zoomTo);
        const QRectF rect = imageRectInViewport(image * zoomTo, viewport, after, true);
        const QPointF again = (anchor - rect.topLeft()) / zoomTo;
        QVERIFY2(std::abs(again.x() - pixel.x()) < 1e-6 && std::abs(again.y() - pixel.y()) < 1e-6,
                 qPrintable(QStringLiteral("%1 -> %2").arg(zoomFrom).arg(zoomTo)));
    }
    // A smaller image is centred, or put at the top-left.
    QCOMPARE(imageRectInViewport({100, 50}, {300, 250}, {0, 0}, true), QRectF(100, 100, 100, 50));
    QCOMPARE(imageRectInViewport({100, 50}, {300, 250}, {0, 0}, false), QRectF(0, 0, 100, 50));
    QCOMPARE(clampScroll({-5, 900}, {1000, 1000}, {400, 400}), QPointF(0, 600));
    QCOMPARE(imagePointAt({150.5, 120.5}, QRectF(100, 100, 200, 100), 2.0), QPointF(25, 10));
    QCOMPARE(imagePointAt({50, 50}, QRectF(100, 100, 200, 100), 2.0), QPointF(-1, -1));
}

void ViewerLogicTest::sequenceOrders() {
    QTemporaryDir temp;
    const QDir dir(temp.path());
    touch(dir, "img10.png", 30, 10);
    touch(dir, "img9.png", 10, 30);
    touch(dir, "B.gif", 20, 20);
    touch(dir, "a.JPG", 40, 40);
    touch(dir, "notes.txt", 1, 1);
    const struct {
        SequenceOrder order;
        QStringList expected;
    } cases[] = {
        {SequenceOrder::Natural, {"a.JPG", "B.gif", "img9.png", "img10.png"}},
        {SequenceOrder::Name, {"B.gif", "a.JPG", "img10.png", "img9.png"}},
        {SequenceOrder::Size, {"img9.png", "B.gif", "img10.png", "a.JPG"}},
        {SequenceOrder::Date, {"a.JPG", "img9.png", "B.gif", "img10.png"}},
    };
    for (const auto& c : cases) {
        FileSequence sequence;
        sequence.setOrder(c.order);
        sequence.openFolderOf(dir.filePath("B.gif"));
        QCOMPARE(names(sequence.files()), c.expected);
        QCOMPARE(QFileInfo(sequence.current()).fileName(), QStringLiteral("B.gif"));
    }
}

void ViewerLogicTest::sequenceSteps() {
    QTemporaryDir temp;
    const QDir dir(temp.path());
    for (const char* name : {"1.png", "2.png", "3.png"}) touch(dir, name, 1, 0);
    FileSequence sequence;
    sequence.openFolderOf(dir.filePath("3.png"));
    // Wrapping steps round; without wrap an end is an end and nothing moves.
    QCOMPARE(QFileInfo(*sequence.step(1)).fileName(), QStringLiteral("1.png"));
    QCOMPARE(QFileInfo(*sequence.step(-1)).fileName(), QStringLiteral("3.png"));
    sequence.setWrap(false);
    QVERIFY(!sequence.step(1));
    QCOMPARE(sequence.index(), 2);
    QCOMPARE(QFileInfo(*sequence.first()).fileName(), QStringLiteral("1.png"));
    QVERIFY(!sequence.peek(-1));
    // Refresh sees a file that arrived; a removed current file hands its
    // place to the next.
    touch(dir, "1b.png", 1, 0);
    QCOMPARE(QFileInfo(*sequence.step(1)).fileName(), QStringLiteral("1b.png"));
    sequence.removeCurrent();
    QCOMPARE(QFileInfo(sequence.current()).fileName(), QStringLiteral("2.png"));
    sequence.renameCurrent(dir.filePath("9.png"));
    QCOMPARE(names(sequence.files()), (QStringList{"1.png", "3.png", "9.png"}));
    QCOMPARE(sequence.index(), 2);
    // Files given explicitly keep their order and their non-image names.
    sequence.setFiles({dir.filePath("3.png"), dir.filePath("1.png"), dir.filePath("x.dat")});
    QCOMPARE(names(sequence.files()), (QStringList{"3.png", "1.png", "x.dat"}));
}

void ViewerLogicTest::slideShowList() {
    const QByteArray text =
        "Vivark SlideShow\r\n"
        "beach.jpg\t8\tThe first morning\r\n"
        "/abs/scan.png\t\t\r\n"
        "\r\n"
        "sub/dir/with space.gif\t2.5\tnote\twith a tab\n"
        "bad time.png\t-3\n";
    const auto slides = parseSlideShowList(text, QStringLiteral("/shows"));
    QVERIFY(slides);
    QCOMPARE(slides->size(), size_t(4));
    QCOMPARE((*slides)[0].path, QStringLiteral("/shows/beach.jpg"));
    QCOMPARE((*slides)[0].seconds, 8.0);
    QCOMPARE((*slides)[0].note, QStringLiteral("The first morning"));
    QCOMPARE((*slides)[1].path, QStringLiteral("/abs/scan.png"));
    QCOMPARE((*slides)[1].seconds, 0.0);
    QCOMPARE((*slides)[2].path, QStringLiteral("/shows/sub/dir/with space.gif"));
    QCOMPARE((*slides)[2].note, QStringLiteral("note\twith a tab"));
    QCOMPARE((*slides)[3].seconds, 0.0);
    QVERIFY(!parseSlideShowList("Vivark Slides\r\nx.png\r\n", "/"));
    // What is written reads back the same.
    const auto again =
        parseSlideShowList(formatSlideShowList(*slides), QStringLiteral("/elsewhere"));
    QVERIFY(again);
    for (size_t i = 0; i < slides->size(); ++i) {
        QCOMPARE((*again)[i].path, (*slides)[i].path);
        QCOMPARE((*again)[i].seconds, (*slides)[i].seconds);
        QCOMPARE((*again)[i].note, (*slides)[i].note);
    }
}

void ViewerLogicTest::slideShowTiming() {
    SlideShow show;
    show.setSlides({{"/a", 0.03, {}}, {"/b", 0, {}}, {"/c", 0.02, {}}});
    show.setDefaultSeconds(0.04);
    QSignalSpy shown(&show, &SlideShow::showSlide);
    QSignalSpy finished(&show, &SlideShow::finished);
    show.start();
    QCOMPARE(shown.count(), 1);
    // A slide's time runs from the moment it is on screen, not from the
    // moment its load began.
    QVERIFY(!show.timerActive());
    QCOMPARE(show.intervalMs(), 30);
    show.slideShown();
    QVERIFY(show.timerActive());
    QTRY_COMPARE_WITH_TIMEOUT(shown.count(), 2, 2000);
    QCOMPARE(show.intervalMs(), 40);  // the default time
    show.slideShown();
    show.pause(true);
    QTest::qWait(80);
    QCOMPARE(shown.count(), 2);
    show.pause(false);
    QTRY_COMPARE_WITH_TIMEOUT(shown.count(), 3, 2000);
    show.slideShown();
    QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 2000);
    QVERIFY(!show.isRunning());

    // A continuous run starts over; a random one shows every slide once a round.
    show.setContinuous(true);
    show.setRandomOrder(true, 7);
    show.setSlides({{"/1", 0, {}}, {"/2", 0, {}}, {"/3", 0, {}}, {"/4", 0, {}}});
    shown.clear();
    show.start();
    for (int i = 0; i < 7; ++i) show.next();
    QCOMPARE(shown.count(), 8);
    QStringList firstRound, secondRound;
    for (int i = 0; i < 4; ++i) firstRound << shown[i][0].value<Slide>().path;
    for (int i = 4; i < 8; ++i) secondRound << shown[i][0].value<Slide>().path;
    firstRound.sort();
    secondRound.sort();
    QCOMPARE(firstRound, (QStringList{"/1", "/2", "/3", "/4"}));
    QCOMPARE(secondRound, firstRound);
    QVERIFY(show.isRunning());
}
