#include "host/win32/sync.h"

#include "host/win32/handles.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

namespace host {

namespace {

// Names of these objects, unlike file names, distinguish case.
struct Semaphore : handles::Object {
    Semaphore(std::string n, int32_t c, int32_t m) : name(std::move(n)), count(c), maximum(m) {}

    bool Release(int32_t n, int32_t* previous) {
        std::lock_guard lock(mutex);
        if (n <= 0 || n > maximum - count) {
            return false;
        }
        if (previous != nullptr) {
            *previous = count;
        }
        count += n;
        released.notify_all();
        return true;
    }

    bool Wait(DWORD milliseconds) {
        std::unique_lock lock(mutex);
        const auto free = [&] { return count > 0; };
        if (milliseconds == INFINITE) {
            released.wait(lock, free);
        } else if (!released.wait_for(lock, std::chrono::milliseconds(milliseconds), free)) {
            return false;
        }
        --count;
        return true;
    }

    int32_t Count() {
        std::lock_guard lock(mutex);
        return count;
    }

    const std::string name;
    std::mutex mutex;
    std::condition_variable released;
    int32_t count;
    const int32_t maximum;
};

struct Mapping : handles::Object {
    explicit Mapping(size_t bytes) : memory(bytes) {}
    std::vector<uint8_t> memory;
};

struct State {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<handles::Object>> named;
    std::multimap<const void*, std::shared_ptr<Mapping>> views;
    std::function<void(const std::string&)> idle;
};

State& TheState() {
    static State state;
    return state;
}

template <class T>
std::shared_ptr<T> Named(const std::string& name) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto it = state.named.find(name);
    return it != state.named.end() ? std::dynamic_pointer_cast<T>(it->second) : nullptr;
}

void Name(const std::string& name, std::shared_ptr<handles::Object> object) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.named[name] = std::move(object);
}

} // namespace

void CreateNamedSemaphore(const std::string& name, int32_t count, int32_t maximum) {
    Name(name, std::make_shared<Semaphore>(name, count, maximum));
}

int32_t SemaphoreCount(const std::string& name) {
    const auto semaphore = Named<Semaphore>(name);
    return semaphore != nullptr ? semaphore->Count() : -1;
}

bool SignalSemaphore(const std::string& name) {
    const auto semaphore = Named<Semaphore>(name);
    return semaphore != nullptr && semaphore->Release(1, nullptr);
}

bool AwaitSemaphore(const std::string& name, DWORD milliseconds) {
    const auto semaphore = Named<Semaphore>(name);
    return semaphore != nullptr && semaphore->Wait(milliseconds);
}

void SetSemaphoreIdle(std::function<void(const std::string&)> idle) {
    TheState().idle = std::move(idle);
}

void* CreateNamedMapping(const std::string& name, size_t bytes) {
    auto mapping = std::make_shared<Mapping>(bytes);
    void* memory = mapping->memory.data();
    Name(name, std::move(mapping));
    return memory;
}

void RemoveNamedObject(const std::string& name) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.named.erase(name);
}

size_t MappedViews() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    return state.views.size();
}

size_t OpenSyncHandles() {
    return handles::Count([](const handles::Object& o) {
        return dynamic_cast<const Semaphore*>(&o) != nullptr ||
               dynamic_cast<const Mapping*>(&o) != nullptr;
    });
}

void ResetSync() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.named.clear();
    state.views.clear();
    state.idle = nullptr;
}

} // namespace host

using namespace host;

extern "C" HANDLE KORV_STDCALL OpenSemaphoreA(DWORD, BOOL, const char* name) {
    const auto semaphore = Named<Semaphore>(name);
    return semaphore != nullptr ? handles::Open(semaphore) : nullptr;
}

extern "C" DWORD KORV_STDCALL WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    const auto semaphore = handles::FindAs<Semaphore>(object);
    if (semaphore == nullptr) {
        return WAIT_FAILED;
    }
    if (TheState().idle && semaphore->Count() == 0) {
        TheState().idle(semaphore->name);
    }
    return semaphore->Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

extern "C" BOOL KORV_STDCALL ReleaseSemaphore(HANDLE object, LONG count, LONG* previous) {
    const auto semaphore = handles::FindAs<Semaphore>(object);
    return semaphore != nullptr && semaphore->Release(count, previous) ? 1 : 0;
}

extern "C" HANDLE KORV_STDCALL OpenFileMappingA(DWORD, BOOL, const char* name) {
    const auto mapping = Named<Mapping>(name);
    return mapping != nullptr ? handles::Open(mapping) : nullptr;
}

extern "C" void* KORV_STDCALL MapViewOfFile(HANDLE object, DWORD, DWORD offsetHigh, DWORD offsetLow,
                                            DWORD bytes) {
    const auto mapping = handles::FindAs<Mapping>(object);
    if (mapping == nullptr || offsetHigh != 0 || offsetLow > mapping->memory.size() ||
        bytes > mapping->memory.size() - offsetLow) {
        return nullptr;
    }
    void* view = mapping->memory.data() + offsetLow;
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.views.emplace(view, mapping);
    return view;
}

extern "C" BOOL KORV_STDCALL UnmapViewOfFile(const void* view) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto it = state.views.find(view);
    if (it == state.views.end()) {
        return 0;
    }
    state.views.erase(it);
    return 1;
}
