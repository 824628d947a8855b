// SaveOptions: how a writer learns the options the user set for its format.
//
// A writer asks by the full setting key ("SaveOptions\\Windows Bitmap\\Encode")
// and gets a boolean or an integer. The options of one save come from a base
// (the persistent settings) and may be overridden for one run by an overlay
// (the command line's --set), which never writes anything back.
//
// kSaveOptionKeys lists every key the writers and the save path read, with
// its kind and its compiled-in default; the overlay accepts only those keys.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vivark {

class SaveOptions {
  public:
    virtual ~SaveOptions() = default;
    virtual bool flag(std::string_view key) const = 0;
    virtual int32_t integer(std::string_view key) const = 0;
};

enum class SaveOptionKind : uint8_t { Boolean, Integer };

struct SaveOptionKey {
    std::string_view key;
    SaveOptionKind kind;
    int32_t defaultValue;
};

namespace saveKey {
inline constexpr std::string_view WindowsBitmapEncode = "SaveOptions\\Windows Bitmap\\Encode";
inline constexpr std::string_view Os2BitmapFormat = "SaveOptions\\OS2 Bitmap\\Format";
inline constexpr std::string_view Os2BitmapEncode = "SaveOptions\\OS2 Bitmap\\Encode";
inline constexpr std::string_view PbmRawData = "SaveOptions\\PBM\\RawData";
inline constexpr std::string_view PgmRawData = "SaveOptions\\PGM\\RawData";
inline constexpr std::string_view PpmRawData = "SaveOptions\\PPM\\RawData";
inline constexpr std::string_view PnmRawData = "SaveOptions\\PNM\\RawData";
inline constexpr std::string_view GifGif89a = "SaveOptions\\GIF\\GIF89a";
inline constexpr std::string_view GifInterlace = "SaveOptions\\GIF\\Interlace";
inline constexpr std::string_view GifTransparent = "SaveOptions\\GIF\\Transparent";
inline constexpr std::string_view GifTransparentIndex = "SaveOptions\\GIF\\Transparent Index";
inline constexpr std::string_view GifBackground = "SaveOptions\\GIF\\Background";
inline constexpr std::string_view GifBackgroundIndex = "SaveOptions\\GIF\\Background Index";
inline constexpr std::string_view PcxEnable24bit = "SaveOptions\\PCX\\Enable24bit";
inline constexpr std::string_view TgaEncode = "SaveOptions\\TGA\\Encode";
inline constexpr std::string_view TgaBottomToTop = "SaveOptions\\TGA\\BottomToTop";
inline constexpr std::string_view TgaRightToLeft = "SaveOptions\\TGA\\RightToLeft";
inline constexpr std::string_view TgaInterlaceType = "SaveOptions\\TGA\\InterlaceType";
inline constexpr std::string_view JfifQuality = "SaveOptions\\JFIF\\Quality";
inline constexpr std::string_view JfifSmooth = "SaveOptions\\JFIF\\Smooth";
inline constexpr std::string_view JfifEntropy = "SaveOptions\\JFIF\\Entropy";
inline constexpr std::string_view JfifProgressive = "SaveOptions\\JFIF\\Progressive";
inline constexpr std::string_view JfifExif = "SaveOptions\\JFIF\\Exif";
// The colour reduction a save makes when the format holds fewer colours.
inline constexpr std::string_view PaletteType = "Dither\\Palette\\PaletteType";
inline constexpr std::string_view DitherType = "Dither\\Palette\\DitherType";
inline constexpr std::string_view PngInterlace = "SaveOptions\\PNG\\Interlace";
inline constexpr std::string_view PngHistogram = "SaveOptions\\PNG\\Histogram";
inline constexpr std::string_view PngTime = "SaveOptions\\PNG\\Time";
inline constexpr std::string_view PngTransparent = "SaveOptions\\PNG\\Transparent";
inline constexpr std::string_view PngTransparentIndex = "SaveOptions\\PNG\\Transparent Index";
inline constexpr std::string_view PngTransparentColor = "SaveOptions\\PNG\\Transparent Color";
inline constexpr std::string_view PngBackground = "SaveOptions\\PNG\\Background";
inline constexpr std::string_view PngBackgroundIndex = "SaveOptions\\PNG\\Background Index";
inline constexpr std::string_view PngBackgroundColor = "SaveOptions\\PNG\\Background Color";
}  // namespace saveKey

// Every key a writer reads, with its kind and default.
std::span<const SaveOptionKey> saveOptionKeys();
// The entry of `key`, or null when no writer reads it.
const SaveOptionKey* findSaveOptionKey(std::string_view key);

// The options as the user keeps them: each key's persistent Setting.
class StoredSaveOptions final : public SaveOptions {
  public:
    bool flag(std::string_view key) const override;
    int32_t integer(std::string_view key) const override;
};

// Per-run overrides on top of a base, which must outlive the overlay.
class SaveOptionOverlay final : public SaveOptions {
  public:
    explicit SaveOptionOverlay(const SaveOptions& base) : base_(&base) {}

    // Sets a known key; false when the key is unknown.
    bool set(std::string_view key, int32_t value);
    // Parses "KEY=VALUE": KEY in full, or without its leading "SaveOptions\",
    // VALUE a decimal or 0x-prefixed integer, or yes/no/true/false/on/off for
    // a boolean. Returns false (and changes nothing) when either is bad.
    bool setAssignment(std::string_view assignment);

    bool flag(std::string_view key) const override;
    int32_t integer(std::string_view key) const override;

  private:
    std::optional<int32_t> find(std::string_view key) const;

    const SaveOptions* base_;
    std::map<std::string, int32_t, std::less<>> values_;
};

}  // namespace vivark
