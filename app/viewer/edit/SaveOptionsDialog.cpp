// The controls of the writers' options dialogs: which widget each save
// setting gets, with its choices or range, and writing the values back.
#include "app/viewer/edit/SaveOptionsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>
#include <QVBoxLayout>
#include <limits>
#include <string_view>

#include "formats/FormatTable.h"
#include "formats/SaveOptions.h"

namespace vivark::viewer {
namespace {

bool sameName(std::string_view a, std::string_view b) {
    // Compared without case and without the slash of "OS/2", so the subkey
    // "OS2 Bitmap" names the writer "OS/2 Bitmap".
    auto next = [](std::string_view& s) -> int {
        while (!s.empty() && s.front() == '/') s.remove_prefix(1);
        if (s.empty()) return -1;
        const char c = s.front();
        s.remove_prefix(1);
        return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c;
    };
    for (;;) {
        const int x = next(a), y = next(b);
        if (x != y) return false;
        if (x < 0) return true;
    }
}

constexpr std::string_view kPrefix = "SaveOptions\\";

// The format part of a save option's key: "GIF" of "SaveOptions\GIF\Interlace".
std::string_view subkeyFormat(std::string_view key) {
    if (key.substr(0, kPrefix.size()) != kPrefix) return {};
    key.remove_prefix(kPrefix.size());
    return key.substr(0, key.find('\\'));
}

struct Choice {
    int32_t value;
    const char* text;
};
struct ChoiceList {
    std::string_view key;
    std::vector<Choice> choices;
};

const std::vector<ChoiceList>& choiceLists() {
    static const std::vector<ChoiceList> lists = {
        {"Dither\\Palette\\PaletteType",
         {{0, "Adaptive (from the image)"},
          {1, "Fixed system palette"},
          {2, "Cube 2x2x2 (8)"},
          {3, "Cube 8x8x4 (256)"},
          {4, "Cube 6x7x6 (252)"},
          {5, "Cube 6x6x6 (216)"}}},
        {"Dither\\Palette\\DitherType", {{0, "None"}, {1, "Ordered"}, {2, "Error diffusion"}}},
        {"SaveOptions\\TIFF\\Compression\\BlackWhite",
         {{0, "None"},
          {1, "PackBits"},
          {2, "LZW"},
          {3, "CCITT Group 3, 1-D"},
          {4, "CCITT Group 3, 2-D"},
          {5, "CCITT Group 4"}}},
        {"SaveOptions\\TIFF\\Compression\\Color",
         {{0, "None"}, {1, "PackBits"}, {2, "LZW"}, {3, "Deflate"}, {4, "JPEG"}}},
        {"SaveOptions\\TIFF\\Photometric",
         {{0, "Automatic"}, {1, "Min is black"}, {2, "Min is white"}, {3, "RGB"}}},
        {"SaveOptions\\TIFF\\Predictor", {{1, "None"}, {2, "Horizontal differencing"}}},
        {"SaveOptions\\TIFF\\StripSize",
         {{0, "1 KiB"},
          {1, "2 KiB"},
          {2, "4 KiB"},
          {3, "8 KiB"},
          {4, "16 KiB"},
          {5, "32 KiB"},
          {6, "64 KiB"},
          {7, "One strip"}}},
        {"SaveOptions\\TGA\\InterlaceType", {{0, "None"}, {1, "Two-way"}, {2, "Four-way"}}},
        {"SaveOptions\\XPM\\Type", {{0, "XPM 3"}, {1, "XPM 1"}}},
        {"SaveOptions\\OS2 Bitmap\\Format", {{0, "Version 1"}, {1, "Version 2"}}},
    };
    return lists;
}

struct Range {
    std::string_view key;
    int low, high;
    bool hex;
};
constexpr Range kRanges[] = {
    {"SaveOptions\\JFIF\\Quality", 1, 100, false},
    {"SaveOptions\\JFIF\\Smooth", 0, 100, false},
    {"SaveOptions\\GIF\\Transparent Index", 0, 255, false},
    {"SaveOptions\\GIF\\Background Index", 0, 255, false},
    {"SaveOptions\\PNG\\Transparent Index", 0, 255, false},
    {"SaveOptions\\PNG\\Background Index", 0, 255, false},
    {"SaveOptions\\PNG\\Transparent Color", 0, 0xFFFFFF, true},
    {"SaveOptions\\PNG\\Background Color", 0, 0xFFFFFF, true},
};

// The label of an option: its key below the format's subkey,
// "Compression: Color" for "SaveOptions\TIFF\Compression\Color".
QString labelOf(std::string_view key) {
    std::string_view rest = key;
    if (rest.substr(0, kPrefix.size()) == kPrefix) {
        rest.remove_prefix(kPrefix.size());
        rest.remove_prefix(std::min(rest.size(), rest.find('\\') + 1));
    } else {
        rest = key.substr(key.rfind('\\') + 1);
        if (rest == "PaletteType") return QObject::tr("Reduce colours to");
        if (rest == "DitherType") return QObject::tr("Dither");
    }
    return QString::fromUtf8(rest.data(), qsizetype(rest.size())).replace('\\', ": ");
}

}  // namespace

std::vector<settings::SettingRef> writerSettings(const WriterEntry& writer) {
    std::vector<settings::SettingRef> list;
    if (!writer.accepts(24) || !writer.trueColourKey.empty()) {
        list.push_back(*findSaveSetting(saveKey::PaletteType));
        list.push_back(*findSaveSetting(saveKey::DitherType));
    }
    for (const FormatEntry* entry : formatTable()) {
        bool ours = false;
        for (const WriterEntry& w : entry->writers) ours |= &w == &writer;
        if (!ours) continue;
        for (const settings::SettingRef& setting : entry->saveSettings) {
            if (!std::holds_alternative<settings::BoolSetting*>(setting) &&
                !std::holds_alternative<settings::IntSetting*>(setting))
                continue;
            // A family with one writer owns all its options; in a family of
            // several, each writer owns those under its own name.
            const std::string_view format = subkeyFormat(settings::settingKey(setting));
            bool mine = entry->writers.size() == 1 || sameName(format, writer.menuName);
            for (std::string_view s : writer.shortNames) mine = mine || sameName(format, s);
            if (mine) list.push_back(setting);
        }
    }
    return list;
}

SaveOptionsDialog::SaveOptionsDialog(const WriterEntry& writer, QWidget* parent)
    : QDialog(parent), settings_(writerSettings(writer)) {
    setWindowTitle(
        tr("%1 Options")
            .arg(QString::fromUtf8(writer.menuName.data(), qsizetype(writer.menuName.size()))));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    layout->addLayout(form);
    if (settings_.empty()) form->addRow(new QLabel(tr("This format has no options.")));
    for (const settings::SettingRef& setting : settings_) {
        const std::string_view key = settings::settingKey(setting);
        const QString name = QString::fromUtf8(key.data(), qsizetype(key.size()));
        if (auto* flag = std::get_if<settings::BoolSetting*>(&setting)) {
            auto* box = new QCheckBox(labelOf(key));
            box->setObjectName(name);
            box->setChecked((*flag)->get());
            form->addRow(box);
            continue;
        }
        const auto* number = std::get<settings::IntSetting*>(setting);
        const int32_t value = int32_t(number->get());
        const ChoiceList* list = nullptr;
        for (const ChoiceList& l : choiceLists())
            if (l.key == key) list = &l;
        if (list) {
            auto* box = new QComboBox;
            box->setObjectName(name);
            for (const Choice& c : list->choices) box->addItem(tr(c.text), c.value);
            box->setCurrentIndex(std::max(0, box->findData(value)));
            form->addRow(labelOf(key), box);
            continue;
        }
        auto* box = new QSpinBox;
        box->setObjectName(name);
        box->setRange(0, std::numeric_limits<int>::max());
        for (const Range& r : kRanges) {
            if (r.key != key) continue;
            box->setRange(r.low, r.high);
            if (r.hex) {
                box->setDisplayIntegerBase(16);
                box->setPrefix("0x");
            }
        }
        box->setValue(value);
        form->addRow(labelOf(key), box);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void SaveOptionsDialog::accept() {
    for (const settings::SettingRef& setting : settings_) {
        const std::string_view key = settings::settingKey(setting);
        const QString name = QString::fromUtf8(key.data(), qsizetype(key.size()));
        if (auto* flag = std::get_if<settings::BoolSetting*>(&setting)) {
            if (const auto* box = findChild<QCheckBox*>(name)) (*flag)->set(box->isChecked());
        } else if (auto* number = std::get_if<settings::IntSetting*>(&setting)) {
            if (const auto* box = findChild<QComboBox*>(name))
                (*number)->set(uint32_t(box->currentData().toInt()));
            else if (const auto* spin = findChild<QSpinBox*>(name))
                (*number)->set(uint32_t(spin->value()));
        }
    }
    QDialog::accept();
}

}  // namespace vivark::viewer
