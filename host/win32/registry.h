#pragma once
// The registry below HKEY_LOCAL_MACHINE: keys by path ("SOFTWARE\\Name\\DirectX"), values as raw
// typed bytes. Paths and value names are compared without regard to case.
#include "driver/platform/win32.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace host {

struct RegistryValue {
    uint32_t type; // REG_SZ and its like
    std::vector<uint8_t> bytes;
    bool operator==(const RegistryValue&) const = default;
};

class Registry {
  public:
    // Value names, folded to lower case, to values.
    using Key = std::map<std::string, RegistryValue>;

    // Makes a key that holds nothing yet; an existing one stays as it is.
    void CreateKey(const std::string& path);
    // Sets a value, making the key where needed.
    void Set(const std::string& path, const std::string& name, RegistryValue value);
    // A REG_SZ value with its terminator.
    void SetText(const std::string& path, const std::string& name, const std::string& text);
    void SetText(const std::string& path, const std::map<std::string, std::string>& values);
    // Removes a value; false if it was not there.
    bool Clear(const std::string& path, const std::string& name);
    // Removes a key with all its values. Open handles of it fail from then on.
    bool ClearKey(const std::string& path);

    // Null if there is none.
    const Key* FindKey(const std::string& path) const;
    Key* FindKey(const std::string& path);
    const RegistryValue* Find(const std::string& path, const std::string& name) const;
    // A REG_SZ value up to its first zero byte; empty if there is none.
    std::string Text(const std::string& path, const std::string& name) const;

    // Access mask of the last key that was opened.
    uint32_t LastAccess() const { return lastAccess_; }

    // For RegOpenKeyExA.
    void NoteOpen(uint32_t access) { lastAccess_ = access; }

  private:
    std::map<std::string, Key> keys_;
    uint32_t lastAccess_ = 0;
};

// The machine's registry.
Registry& TheRegistry();

} // namespace host
