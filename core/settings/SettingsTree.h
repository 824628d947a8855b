// SettingsTree: the contents of a settings store held in memory.
//
// Subkeys are kept flat by their full path ("SaveOptions\\TIFF\\Compression");
// a nested subkey is simply a longer path. Subkey paths and value names
// compare without regard to ASCII case, and an entry keeps the spelling it was
// first stored with, as the registry does. A subkey exists only while it holds
// values. MemoryStore and TextFileStore both keep their contents here; reading
// and writing the text form is SettingsFile.h's business.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "core/settings/SettingsStore.h"

namespace vivark::settings {

// Orders strings by their ASCII-lowercased bytes.
struct CaseInsensitiveLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
};

bool equalsIgnoringCase(std::string_view a, std::string_view b);

class SettingsTree {
  public:
    using Values = std::map<std::string, StoredValue, CaseInsensitiveLess>;
    using Subkeys = std::map<std::string, Values, CaseInsensitiveLess>;

    std::optional<StoredValue> find(std::string_view subkey, std::string_view name) const;

    // Both return whether the tree changed.
    bool set(std::string_view subkey, std::string_view name, const StoredValue& value);
    bool erase(std::string_view subkey, std::string_view name);

    const Subkeys& subkeys() const { return subkeys_; }
    bool empty() const { return subkeys_.empty(); }
    bool operator==(const SettingsTree&) const = default;

  private:
    Subkeys subkeys_;
};

}  // namespace vivark::settings
