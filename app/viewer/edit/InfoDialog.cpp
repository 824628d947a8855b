// The rows of the information dialog and the tree that shows them.
#include "app/viewer/edit/InfoDialog.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLocale>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/viewer/edit/ExifList.h"
#include "formats/FormatTable.h"
#include "formats/SaveDispatch.h"

namespace vivark::viewer {
namespace {

// Named as `vivark info` names the file.
QString formatName(FormatTag tag, FormatTag namedAs) {
    if (tag == 0) return QObject::tr("(none)");
    return QString::fromStdString(formatNameOf(tag, namedAs));
}

QString resolutionText(const Resolution& r) {
    switch (r.unit) {
        case ResolutionUnit::PerInch:
            return QObject::tr("%1 x %2 dpi").arg(r.x).arg(r.y);
        case ResolutionUnit::PerMetre:
            return QObject::tr("%1 x %2 dots per cm").arg(r.x / 100).arg(r.y / 100);
        case ResolutionUnit::Ratio:
            return QObject::tr("aspect %1 : %2").arg(r.x).arg(r.y);
        case ResolutionUnit::None:
            break;
    }
    return QObject::tr("not stated");
}

}  // namespace

std::vector<InfoRow> informationRows(const Image& source, const QString& path, FormatTag namedAs) {
    std::vector<InfoRow> rows;
    const QString image = QObject::tr("Image");
    rows.push_back({image, QObject::tr("Format"), formatName(source.formatTag, namedAs)});
    rows.push_back({image, QObject::tr("Size"),
                    QObject::tr("%1 x %2 pixels").arg(source.width()).arg(source.height())});
    rows.push_back(
        {image, QObject::tr("Depth"), QObject::tr("%1 bits per pixel").arg(source.bitsPerPixel())});
    Image counted = source;  // counting stores its answer; the document's image stays as it is
    const uint32_t colours = counted.countColours(nullptr, Image::CountMode::WeedOutDuplicates);
    rows.push_back({image, QObject::tr("Colours"), QLocale().toString(colours)});
    rows.push_back({image, QObject::tr("Resolution"), resolutionText(source.resolution)});
    if (source.pageCount > 1)
        rows.push_back({image, QObject::tr("Pages"),
                        QObject::tr("%1 of %2").arg(source.pageNumber).arg(source.pageCount)});
    if (source.secondPlaneKind != SecondPlane::None)
        rows.push_back({image, QObject::tr("Second plane"),
                        source.secondPlaneKind == SecondPlane::Alpha ? QObject::tr("alpha")
                                                                     : QObject::tr("mask")});
    if (!source.comment.empty())
        rows.push_back({image, QObject::tr("Comment"), QString::fromStdString(source.comment)});

    if (!path.isEmpty()) {
        const QFileInfo file(path);
        const QString group = QObject::tr("File");
        rows.push_back({group, QObject::tr("Name"), file.fileName()});
        rows.push_back({group, QObject::tr("Folder"), file.absolutePath()});
        if (file.exists()) {
            rows.push_back({group, QObject::tr("File size"),
                            QObject::tr("%1 bytes").arg(QLocale().toString(file.size()))});
            const QDateTime born = file.birthTime();
            if (born.isValid())
                rows.push_back(
                    {group, QObject::tr("Created"), QLocale().toString(born, QLocale::LongFormat)});
            rows.push_back({group, QObject::tr("Modified"),
                            QLocale().toString(file.lastModified(), QLocale::LongFormat)});
        }
    }
    for (const InfoItem& item : source.info)
        rows.push_back({QObject::tr("Format"), QString::fromStdString(item.label()),
                        QString::fromStdString(item.valueText())});
    if (source.exif)
        for (const auto& [label, value] : exifEntries(*source.exif))
            rows.push_back({QObject::tr("EXIF"), QString::fromStdString(label),
                            QString::fromStdString(value)});
    return rows;
}

InfoDialog::InfoDialog(const Image& image, const QString& path, FormatTag namedAs, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(tr("Information"));
    auto* layout = new QVBoxLayout(this);
    auto* tree = new QTreeWidget;
    tree->setObjectName("information");
    tree->setColumnCount(2);
    tree->setHeaderLabels({tr("Item"), tr("Value")});
    QTreeWidgetItem* group = nullptr;
    for (const InfoRow& row : informationRows(image, path, namedAs)) {
        if (!group || group->text(0) != row.group) {
            group = new QTreeWidgetItem(tree, {row.group});
            group->setExpanded(true);
            group->setFirstColumnSpanned(true);
        }
        new QTreeWidgetItem(group, {row.label, row.value});
    }
    tree->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    layout->addWidget(tree);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(520, 480);
}

}  // namespace vivark::viewer
