#include "host/win32/handles.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace host::handles {

namespace {

struct Table {
    std::mutex mutex;
    std::map<uintptr_t, std::shared_ptr<Object>> open;
    uintptr_t next = 0x100;
};

Table& TheTable() {
    static Table table;
    return table;
}

} // namespace

HANDLE Open(std::shared_ptr<Object> object) {
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    const uintptr_t number = table.next;
    table.next += 4;
    table.open[number] = std::move(object);
    return reinterpret_cast<HANDLE>(number);
}

std::shared_ptr<Object> Find(HANDLE handle) {
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    const auto it = table.open.find(reinterpret_cast<uintptr_t>(handle));
    return it != table.open.end() ? it->second : nullptr;
}

bool Close(HANDLE handle) {
    Table& table = TheTable();
    std::shared_ptr<Object> object;
    {
        std::lock_guard lock(table.mutex);
        const auto it = table.open.find(reinterpret_cast<uintptr_t>(handle));
        if (it == table.open.end()) {
            return false;
        }
        object = std::move(it->second);
        table.open.erase(it);
    }
    object->HandleClosed();
    return true;
}

void Reset() {
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    table.open.clear();
}

size_t Count(bool (*matches)(const Object&)) {
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    return static_cast<size_t>(std::count_if(table.open.begin(), table.open.end(),
                                             [&](const auto& e) { return matches(*e.second); }));
}

} // namespace host::handles

extern "C" BOOL KORV_STDCALL CloseHandle(HANDLE handle) {
    return host::handles::Close(handle) ? 1 : 0;
}
