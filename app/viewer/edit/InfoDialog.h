// InfoDialog: what the viewer knows about the current image and its file:
// format, size, depth, colour count, resolution, file size and dates, the
// format's information items and the EXIF entries.
#pragma once

#include <QDialog>
#include <QString>
#include <vector>

#include "core/Image.h"

namespace vivark::viewer {

struct InfoRow {
    QString group;  // "Image", "File", "Format", "EXIF"
    QString label;
    QString value;
};

// The rows the dialog shows, in order. `namedAs` is what identification named
// the file by where its format tag is shared (FormatInfo::namedAs), or 0.
std::vector<InfoRow> informationRows(const Image& image, const QString& path,
                                     FormatTag namedAs = 0);

class InfoDialog : public QDialog {
    Q_OBJECT
  public:
    InfoDialog(const Image& image, const QString& path, FormatTag namedAs = 0,
               QWidget* parent = nullptr);
};

}  // namespace vivark::viewer
