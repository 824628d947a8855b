// SaveOptions: how a writer learns the options the user set for its format.
//
// A writer asks by the full setting key ("SaveOptions\\Windows Bitmap\\Encode")
// and gets a boolean or an integer. The options of one save come from a base
// (the persistent settings) and may be overridden for one run by an overlay
// (the command line's --set), which never writes anything back.
//
// The keys are those of the save settings that the format entries declare
// (FormatTable.h) and the save path's own colour-reduction pair below; the
// overlay accepts only those keys, of the boolean and integer kinds.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/settings/Setting.h"

namespace vivark {

class SaveOptions {
  public:
    virtual ~SaveOptions() = default;
    virtual bool flag(std::string_view key) const = 0;
    virtual int32_t integer(std::string_view key) const = 0;
};

namespace saveKey {
// The colour reduction a save makes when the format holds fewer colours.
inline constexpr std::string_view PaletteType = "Dither\\Palette\\PaletteType";
inline constexpr std::string_view DitherType = "Dither\\Palette\\DitherType";
}  // namespace saveKey

// Every setting a writer or the save path reads: the save path's own, then
// each format entry's in registry order.
std::span<const settings::SettingRef> saveSettings();
// The setting of `key` (ignoring ASCII case), or null when no writer reads it.
const settings::SettingRef* findSaveSetting(std::string_view key);

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
