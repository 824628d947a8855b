// The viewer's logic without windows: fit and zoom arithmetic, the file
// sequence over a folder, slide show lists and the slide timer.
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/viewer/FileSequence.h"
#include "app/viewer/SlideShow.h"
#include "app/viewer/ViewGeometry.h"

using namespace vivark::viewer;

Q_DECLARE_METATYPE(vivark::viewer::Slide)

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

class ViewerLogicTest : public QObject {
    Q_OBJECT
  private slots:
    void fitZoom_data() {
        QTest::addColumn<QSizeF>("image");
        QTest::addColumn<QSizeF>("viewport");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("fit");
        QTest::addColumn<double>("zoom");
        const QSizeF large(2000, 1000), small(100, 50), view(500, 500);
        QTest::newRow("large shrinks") << large << view << 0 << true << 0.25;
        QTest::newRow("large, enlarge only") << large << view << 1 << true << 1.0;
        QTest::newRow("small stays") << small << view << 0 << true << 1.0;
        QTest::newRow("small enlarges") << small << view << 1 << true << 5.0;
        QTest::newRow("both ways, tall")
            << QSizeF(100, 400) << QSizeF(500, 200) << 2 << true << 0.5;
        QTest::newRow("fit off") << large << view << 2 << false << 1.0;
        QTest::newRow("empty viewport") << large << QSizeF() << 2 << true << 1.0;
        QTest::newRow("one pixel, huge view") << QSizeF(1, 1) << view * 8 << 2 << true << kMaxZoom;
    }

    void fitZoom() {
        QFETCH(QSizeF, image);
        QFETCH(QSizeF, viewport);
        QFETCH(int, mode);
        QFETCH(bool, fit);
        QFETCH(double, zoom);
        const ViewRules rules{fit, fitModeFromSetting(unsigned(mode)), true};
        QCOMPARE(vivark::viewer::fitZoom(image, viewport, rules), zoom);
    }

    void zoomStepsAndAnchor() {
        // In and out walk the same ladder, stop at its ends, and an off-ladder
        // zoom (a fit) goes to the next rung, not past it.
        double zoom = 1.0;
        for (int i = 0; i < 40; ++i) zoom = nextZoomIn(zoom);
        QCOMPARE(zoom, kMaxZoom);
        for (int i = 0; i < 80; ++i) zoom = nextZoomOut(zoom);
        QCOMPARE(zoom, kMinZoom);
        for (double z : {1.0 / 8, 2.0 / 3, 1.0, 3.0}) QCOMPARE(nextZoomOut(nextZoomIn(z)), z);
        QCOMPARE(nextZoomIn(0.3), 1.0 / 3);
        QCOMPARE(nextZoomOut(0.3), 1.0 / 4);

        // The image point under the anchor stays under it across a zoom.
        const QSizeF viewport(400, 300), image(4000, 3000);
        for (const auto& [zoomFrom, zoomTo, anchor] :
             {std::tuple{1.0, 2.0, QPointF(100, 80)}, std::tuple{2.0, 0.5, QPointF(399, 0)},
              std::tuple{0.5, 4.0, QPointF(200, 150)}}) {
            const QPointF scroll = clampScroll({600, 500}, image * zoomFrom, viewport);
            const QRectF before = imageRectInViewport(image * zoomFrom, viewport, scroll, true);
            const QPointF after = scrollForZoomAround(scroll, anchor, zoomFrom, zoomTo);
            const QRectF rect = imageRectInViewport(image * zoomTo, viewport, after, true);
            const QPointF moved =
                (anchor - rect.topLeft()) / zoomTo - (anchor - before.topLeft()) / zoomFrom;
            QVERIFY(moved.manhattanLength() < 1e-6);
        }
    }

    void sequenceOrders() {
        QTemporaryDir temp;
        const QDir dir(temp.path());
        touch(dir, "img10.png", 30, 10);
        touch(dir, "img9.png", 10, 30);
        touch(dir, "B.gif", 20, 20);
        touch(dir, "a.JPG", 40, 40);
        touch(dir, "notes.txt", 1, 1);
        const std::pair<SequenceOrder, QStringList> cases[] = {
            {SequenceOrder::Natural, {"a.JPG", "B.gif", "img9.png", "img10.png"}},
            {SequenceOrder::Name, {"B.gif", "a.JPG", "img10.png", "img9.png"}},
            {SequenceOrder::Size, {"img9.png", "B.gif", "img10.png", "a.JPG"}},
            {SequenceOrder::Date, {"a.JPG", "img9.png", "B.gif", "img10.png"}},
        };
        for (const auto& [order, expected] : cases) {
            FileSequence sequence;
            sequence.setOrder(order);
            sequence.openFolderOf(dir.filePath("B.gif"));
            QCOMPARE(names(sequence.files()), expected);
            QCOMPARE(QFileInfo(sequence.current()).fileName(), QStringLiteral("B.gif"));
        }
    }

    void sequenceSteps() {
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
        // Refresh sees a file that arrived; a removed current file hands its
        // place to the next.
        touch(dir, "1b.png", 1, 0);
        QCOMPARE(QFileInfo(*sequence.step(1)).fileName(), QStringLiteral("1b.png"));
        sequence.removeCurrent();
        QCOMPARE(QFileInfo(sequence.current()).fileName(), QStringLiteral("2.png"));
    }

    void slideShowList() {
        const QByteArray text =
            "Vivark SlideShow\r\n"
            "beach.jpg\t8\tThe first morning\r\n"
            "/abs/scan.png\t\t\r\n"
            "\r\n"
            "sub/with space.gif\t2.5\tnote\twith a tab\n"
            "bad time.png\t-3\n";
        // What is read, and what is written and read again, is the same.
        const auto flat = [](const auto& slides) {
            QStringList out;
            for (const Slide& s : slides.value_or(std::vector<Slide>{}))
                out << QStringLiteral("%1|%2|%3").arg(s.path).arg(s.seconds).arg(s.note);
            return out;
        };
        const QStringList expected{"/shows/beach.jpg|8|The first morning", "/abs/scan.png|0|",
                                   "/shows/sub/with space.gif|2.5|note\twith a tab",
                                   "/shows/bad time.png|0|"};
        const auto slides = parseSlideShowList(text, QStringLiteral("/shows"));
        QCOMPARE(flat(slides), expected);
        QCOMPARE(flat(parseSlideShowList(formatSlideShowList(*slides), "/x")), expected);
        QVERIFY(!parseSlideShowList("Vivark Slides\r\nx.png\r\n", "/"));
    }

    void slideShowTiming() {
        SlideShow show;
        show.setSlides({{"/a", 0.03, {}}, {"/b", 0, {}}});
        show.setDefaultSeconds(0.04);
        QSignalSpy shown(&show, &SlideShow::showSlide);
        QSignalSpy finished(&show, &SlideShow::finished);
        show.start();
        // A slide's time runs from the moment it is on screen, not from the
        // moment its load began.
        QVERIFY(!show.timerActive());
        QCOMPARE(show.intervalMs(), 30);
        show.slideShown();
        QTRY_COMPARE_WITH_TIMEOUT(shown.count(), 2, 2000);
        QCOMPARE(show.intervalMs(), 40);  // the default time
        show.pause(true);
        show.slideShown();
        QVERIFY(!show.timerActive());
        show.pause(false);
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 2000);

        // A continuous random run shows every slide once a round.
        show.setContinuous(true);
        show.setRandomOrder(true, 7);
        show.setSlides({{"/1", 0, {}}, {"/2", 0, {}}, {"/3", 0, {}}, {"/4", 0, {}}});
        shown.clear();
        show.start();
        for (int i = 0; i < 7; ++i) show.next();
        QCOMPARE(shown.count(), 8);
        for (int round : {0, 4}) {
            QStringList paths;
            for (int i = round; i < round + 4; ++i) paths << shown[i][0].value<Slide>().path;
            paths.sort();
            QCOMPARE(paths, (QStringList{"/1", "/2", "/3", "/4"}));
        }
    }
};

QObject* makeViewerLogicTest() {
    return new ViewerLogicTest;
}

#include "ViewerLogicTest.moc"
