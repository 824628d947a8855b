// Save As over every writer: each options dialog writes back every setting
// it shows, and a document saved through each writer loads again; plus the
// JPEG lossless turns, the information dialog's rows and damaged EXIF.
#include <QCheckBox>
#include <QComboBox>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>

#include "EditTestSupport.h"
#include "app/viewer/edit/Document.h"
#include "app/viewer/edit/EditMenus.h"
#include "app/viewer/edit/ExifList.h"
#include "app/viewer/edit/FileActions.h"
#include "app/viewer/edit/InfoDialog.h"
#include "app/viewer/edit/SaveOptionsDialog.h"
#include "formats/FormatTable.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "ops/ColourDepth.h"

using namespace vivark;
using namespace vivark::viewer;
using namespace vivark::viewer::test;

namespace {

QString nameOf(const WriterEntry& writer) {
    return QString::fromUtf8(writer.menuName.data(), qsizetype(writer.menuName.size()));
}

// The sample a writer takes without a depth conversion it would refuse.
Image sampleFor(const WriterEntry& writer) {
    if (writer.colourNeed == ColourNeed::Grey) return greySample();
    if (writer.colourNeed == ColourNeed::BlackAndWhite)
        return *toBlackAndWhite(greySample(), {128});
    return colourSample();
}

}  // namespace

class SaveAsTest : public QObject {
    Q_OBJECT
  private slots:
    void optionsDialogsWriteWhatTheyShow() {
        // Every control set away from its stored value: what was set is what
        // the setting reads after OK.
        for (const WriterEntry* writer : writerTable()) {
            SaveOptionsDialog dialog(*writer);
            std::vector<std::pair<settings::SettingRef, uint32_t>> expected;
            for (const settings::SettingRef& setting : dialog.shown()) {
                const std::string_view key = settings::settingKey(setting);
                const QString name = QString::fromUtf8(key.data(), qsizetype(key.size()));
                if (auto* box = dialog.findChild<QCheckBox*>(name)) {
                    box->toggle();
                    expected.emplace_back(setting, box->isChecked());
                } else if (auto* combo = dialog.findChild<QComboBox*>(name)) {
                    combo->setCurrentIndex((combo->currentIndex() + 1) % combo->count());
                    expected.emplace_back(setting, combo->currentData().toUInt());
                } else if (auto* spin = dialog.findChild<QSpinBox*>(name)) {
                    spin->setValue(spin->value() + (spin->value() < spin->maximum() ? 1 : -1));
                    expected.emplace_back(setting, uint32_t(spin->value()));
                } else {
                    QFAIL(qPrintable(name));
                }
            }
            dialog.accept();
            for (const auto& [setting, value] : expected) {
                auto* flag = std::get_if<settings::BoolSetting*>(&setting);
                const uint32_t now =
                    flag ? (*flag)->get() : std::get<settings::IntSetting*>(setting)->get();
                QVERIFY2(now == value, settings::settingKey(setting).data());
                std::visit([](auto* s) { s->reset(); }, setting);
            }
        }
    }

    void saveAsWritesWhatTheLoaderReads() {
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        for (const WriterEntry* writer : writerTable()) {
            QMainWindow window;
            auto* document = new Document(&window);
            EditMenus* menus = installEditMenus(&window, window.menuBar(), document);
            const Image source = sampleFor(*writer);
            document->setLoaded(source, QString());
            document->apply(source, "Edit");
            const std::string_view ext = writer->extensions.size() ? *writer->extensions.begin()
                                                                   : *writer->shortNames.begin();
            const QString path =
                folder.filePath("sample." + QString::fromUtf8(ext.data(), qsizetype(ext.size())));
            QString error;
            QVERIFY2(menus->fileActions()->saveTo(path, *writer, &error),
                     qPrintable(nameOf(*writer) + ": " + error));
            QVERIFY(!document->isModified());
            QCOMPARE(document->path(), path);
            QCOMPARE(menus->fileActions()->recentFiles().value(0),
                     QFileInfo(path).absoluteFilePath());  // the newest first

            const FormatEntry* entry = findFormatEntry(writer->formatTag);
            if (!entry || !entry->create) continue;  // written only
            Image loaded;
            const LoadResult result = loadFile(loaded, path.toStdString(), ReadOptions{});
            QVERIFY2(result.completed, qPrintable(nameOf(*writer)));
            // Fixed pages (MacPaint, Compuserve RLE, boot logos) and icons
            // of a set size hold the picture at their own size.
            bool sized = writer->canvasWidth != 0 || writer->formatTag == makeTag("LOGO");
            for (const settings::SettingRef& s : writerSettings(*writer))
                sized = sized || settings::settingKey(s).ends_with("\\Size");
            if (sized) continue;
            QCOMPARE(loaded.width(), source.width());
            QCOMPARE(loaded.height(), source.height());
        }
    }

    void jpegTurnsAndInformation() {
        // A JPEG file turns without loss: the file is turned and read again.
        QTemporaryDir folder;
        const QString path = folder.filePath("turn.jpg");
        QMainWindow window;
        auto* document = new Document(&window);
        EditMenus* menus = installEditMenus(&window, window.menuBar(), document);
        document->setLoaded(colourSample(48, 32), QString());
        QVERIFY(menus->fileActions()->saveTo(path, *findWriterByExtension("jpg")));
        QVERIFY(!window.findChild<QMenu*>("jpegMenu")->isEnabled());  // not from a JPEG file
        Image loaded;
        QVERIFY(loadFile(loaded, path.toStdString(), ReadOptions{}).completed);
        document->setLoaded(loaded, path);
        menus->actionNamed("jpegRotate90")->trigger();
        QCOMPARE(document->image().width(), 32u);
        QCOMPARE(document->path(), path);
        QVERIFY(!document->isModified());

        // The information rows: the image, its file and its EXIF items.
        Image source = colourSample();
        // A little-endian EXIF block: camera make "Cam", orientation 6, and an
        // Exif directory with an exposure time of 1/250.
        const uint8_t exif[] = {
            'I', 'I', 42, 0,    8,  0, 0, 0, 3, 0, 0x0F, 1, 2, 0, 4,    0,    0,    0, 'C',
            'a', 'm', 0,  0x12, 1,  3, 0, 1, 0, 0, 0,    6, 0, 0, 0,    0x69, 0x87, 4, 0,
            1,   0,   0,  0,    50, 0, 0, 0, 0, 0, 0,    0, 1, 0, 0x9A, 0x82, 5,    0, 1,
            0,   0,   0,  68,   0,  0, 0, 0, 0, 0, 0,    1, 0, 0, 0,    250,  0,    0, 0};
        source.exif = std::make_shared<std::vector<uint8_t>>(std::begin(exif), std::end(exif));
        document->setLoaded(source, QString());
        const QString png = folder.filePath("info.png");
        QVERIFY(menus->fileActions()->saveTo(png, *findWriterByExtension("png")));
        std::map<QString, QString> rows;
        for (const InfoRow& row : informationRows(document->image(), document->path()))
            rows[row.label] = row.value;
        QCOMPARE(rows["Size"], QString("37 x 23 pixels"));
        QCOMPARE(rows["Colours"], QString("851"));
        QVERIFY(rows["File size"].contains(QString::number(QFileInfo(png).size())));
        QCOMPARE(rows["Camera make"], QString("Cam"));
        QCOMPARE(rows["Orientation"], QString("6"));
        QCOMPARE(rows["Exposure time"], QString("1/250"));
    }

    void informationNamesTheFormat() {
        // A tag shared by several writers is named by what identification
        // says of the file: a version 5 header is a Windows bitmap though
        // tagged "BMP ", as `vivark info` says.
        const struct {
            const char* file;
            const char* name;
        } rows[] = {
            {"im-argb32.bmp", "Windows Bitmap"},
            {"netpbm-win24.bmp", "Windows Bitmap"},
            {"netpbm-os2-24.bmp", "OS/2 Bitmap"},
        };
        for (const auto& row : rows) {
            const QString path = QStringLiteral(VIVARK_SOURCE_DIR "/tests/formats/bmp/good/") +
                                 QString::fromLatin1(row.file);
            Image image;
            const LoadResult result = loadFile(image, path.toStdString(), ReadOptions{});
            QVERIFY(result.completed);
            std::map<QString, QString> shown;
            for (const InfoRow& info : informationRows(image, path, result.info.namedAs))
                shown[info.label] = info.value;
            QCOMPARE(shown["Format"], QString::fromLatin1(row.name));
        }
    }

    void exifListSurvivesDamage() {
        // Loops, offsets past the end and truncated blocks give what can be
        // read and nothing more.
        const std::vector<std::vector<uint8_t>> blocks = {
            {},
            {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x69, 0x87, 4, 0, 1, 0, 0, 0, 8, 0, 0, 0},
            {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 15, 0, 2, 0xFF, 0, 0, 0, 0, 0, 0, 0},
            {'I', 'I', 42, 0, 0xF0, 0xFF, 0xFF, 0xFF},
            {'I', 'I', 42, 0, 8, 0, 0, 0, 0xFF, 0xFF},
        };
        for (const auto& block : blocks) QVERIFY(exifEntries(block).size() <= 1);
    }
};

QObject* makeSaveAsTest() {
    return new SaveAsTest;
}

#include "SaveAsTest.moc"
