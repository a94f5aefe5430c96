#include "host/win32/registry.h"

#include "host/win32/handles.h"
#include "host/win32/names.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

constexpr LONG kErrorInvalidHandle = 6;

struct OpenKey : handles::Object {
    explicit OpenKey(std::string keyPath) : path(std::move(keyPath)) {}
    std::string path;
};

// The key behind a handle, or null.
Registry::Key* KeyOf(HKEY handle) {
    const auto open = handles::FindAs<OpenKey>(handle);
    return open != nullptr ? TheRegistry().FindKey(open->path) : nullptr;
}

} // namespace

void Registry::CreateKey(const std::string& path) {
    keys_[FoldCase(path)];
}

void Registry::Set(const std::string& path, const std::string& name, RegistryValue value) {
    keys_[FoldCase(path)][FoldCase(name)] = std::move(value);
}

void Registry::SetText(const std::string& path, const std::string& name, const std::string& text) {
    std::vector<uint8_t> bytes(text.begin(), text.end());
    bytes.push_back(0);
    Set(path, name, {REG_SZ, std::move(bytes)});
}

void Registry::SetText(const std::string& path, const std::map<std::string, std::string>& values) {
    for (const auto& [name, text] : values) {
        SetText(path, name, text);
    }
}

bool Registry::Clear(const std::string& path, const std::string& name) {
    Key* key = FindKey(path);
    return key != nullptr && key->erase(FoldCase(name)) != 0;
}

bool Registry::ClearKey(const std::string& path) {
    return keys_.erase(FoldCase(path)) != 0;
}

const Registry::Key* Registry::FindKey(const std::string& path) const {
    const auto it = keys_.find(FoldCase(path));
    return it != keys_.end() ? &it->second : nullptr;
}

Registry::Key* Registry::FindKey(const std::string& path) {
    const auto it = keys_.find(FoldCase(path));
    return it != keys_.end() ? &it->second : nullptr;
}

const RegistryValue* Registry::Find(const std::string& path, const std::string& name) const {
    const Key* key = FindKey(path);
    if (key == nullptr) {
        return nullptr;
    }
    const auto value = key->find(FoldCase(name));
    return value != key->end() ? &value->second : nullptr;
}

std::string Registry::Text(const std::string& path, const std::string& name) const {
    const RegistryValue* value = Find(path, name);
    if (value == nullptr || value->type != REG_SZ) {
        return {};
    }
    return {value->bytes.begin(), std::find(value->bytes.begin(), value->bytes.end(), 0)};
}

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

} // namespace host

using namespace host;

extern "C" LONG KORV_STDCALL RegOpenKeyExA(HKEY key, const char* path, DWORD, DWORD access,
                                           HKEY* result) {
    if (key != HKEY_LOCAL_MACHINE || TheRegistry().FindKey(path) == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    TheRegistry().NoteOpen(access);
    *result = reinterpret_cast<HKEY>(handles::Open(std::make_shared<OpenKey>(path)));
    return ERROR_SUCCESS;
}

extern "C" LONG KORV_STDCALL RegQueryValueExA(HKEY key, const char* name, DWORD*, DWORD* type,
                                              BYTE* data, DWORD* bytes) {
    const Registry::Key* values = KeyOf(key);
    if (values == nullptr) {
        return kErrorInvalidHandle;
    }
    const auto it = values->find(FoldCase(name));
    if (it == values->end()) {
        return ERROR_FILE_NOT_FOUND;
    }
    const RegistryValue& value = it->second;
    if (type != nullptr) {
        *type = value.type;
    }
    if (bytes == nullptr) {
        return ERROR_SUCCESS;
    }
    const DWORD room = *bytes;
    *bytes = static_cast<DWORD>(value.bytes.size());
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (room < value.bytes.size()) {
        return ERROR_MORE_DATA;
    }
    std::memcpy(data, value.bytes.data(), value.bytes.size());
    return ERROR_SUCCESS;
}

extern "C" LONG KORV_STDCALL RegSetValueExA(HKEY key, const char* name, DWORD, DWORD type,
                                            const BYTE* data, DWORD bytes) {
    Registry::Key* values = KeyOf(key);
    if (values == nullptr) {
        return kErrorInvalidHandle;
    }
    (*values)[FoldCase(name)] = {type, std::vector<uint8_t>(data, data + bytes)};
    return ERROR_SUCCESS;
}
