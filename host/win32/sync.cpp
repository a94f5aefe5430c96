#include "host/win32/sync.h"

#include "host/win32/handles.h"
#include "host/win32/shared_object.h"
#include "host/win32/shared_semaphore.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <new>

namespace host {

namespace {

using Kind = SharedObject::Kind;

// How often a wait without limit looks whether anybody is left who could end it.
constexpr DWORD kMakerCheck = 50; // milliseconds

struct State {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<SharedObject>> made; // by this process
    std::multimap<const void*, std::shared_ptr<SharedObject>> views;
    std::vector<std::string> closed;
    SemaphoreHooks hooks;

    ~State() { Unname(); }
    void Unname() {
        for (const auto& [name, object] : made) {
            object->Unname();
        }
        made.clear();
    }
};

State& TheState() {
    static State state;
    return state;
}

// What handles of these objects name. Names, unlike file names, distinguish case.
struct Named : handles::Object {
    explicit Named(std::shared_ptr<SharedObject> o) : object(std::move(o)) {}
    void HandleClosed() override {
        State& state = TheState();
        std::lock_guard lock(state.mutex);
        state.closed.push_back(object->Name());
    }
    const std::shared_ptr<SharedObject> object;
};

SharedSemaphore& SemaphoreOf(SharedObject& object) {
    return *reinterpret_cast<SharedSemaphore*>(object.Memory());
}

struct Semaphore : Named {
    using Named::Named;
    SharedSemaphore& Words() const { return SemaphoreOf(*object); }
};

struct Mapping : Named {
    using Named::Named;
};

// Keeps what this process has made; its memory.
uint8_t* Keep(std::shared_ptr<SharedObject> object) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    uint8_t* memory = object->Memory();
    state.made[object->Name()] = std::move(object);
    return memory;
}

void Tell(const std::function<void(const std::string&)>& hook, const std::string& name) {
    if (hook) {
        hook(name);
    }
}

DWORD WaitFor(const Semaphore& semaphore, DWORD milliseconds) {
    const std::string& name = semaphore.object->Name();
    if (semaphore.Words().count == 0) {
        Tell(TheState().hooks.idle, name);
    }
    if (milliseconds != INFINITE) {
        return semaphore.Words().Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }
    while (!semaphore.Words().Wait(kMakerCheck)) {
        if (!semaphore.object->MakerRuns()) {
            Tell(TheState().hooks.makerLost, name);
            return WAIT_FAILED;
        }
    }
    return WAIT_OBJECT_0;
}

} // namespace

void CreateNamedSemaphore(const std::string& name, int32_t count, int32_t maximum) {
    Keep(SharedObject::Create(name, Kind::Semaphore, sizeof(SharedSemaphore), [&](uint8_t* memory) {
        new (memory) SharedSemaphore{count, maximum};
    }));
}

int32_t SemaphoreCount(const std::string& name) {
    const auto object = SharedObject::Open(name, Kind::Semaphore);
    return object != nullptr ? SemaphoreOf(*object).count.load() : -1;
}

bool SignalSemaphore(const std::string& name) {
    const auto object = SharedObject::Open(name, Kind::Semaphore);
    return object != nullptr && SemaphoreOf(*object).Release(1, nullptr);
}

bool AwaitSemaphore(const std::string& name, DWORD milliseconds) {
    const auto object = SharedObject::Open(name, Kind::Semaphore);
    return object != nullptr && SemaphoreOf(*object).Wait(milliseconds);
}

void SetSemaphoreHooks(SemaphoreHooks hooks) {
    TheState().hooks = std::move(hooks);
}

void* CreateNamedMapping(const std::string& name, size_t bytes) {
    return Keep(SharedObject::Create(name, Kind::Mapping, bytes));
}

std::shared_ptr<void> NamedMapping(const std::string& name) {
    auto object = SharedObject::Open(name, Kind::Mapping);
    if (object == nullptr) {
        return nullptr;
    }
    void* memory = object->Memory();
    return {std::move(object), memory};
}

void RemoveNamedObject(const std::string& name) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto it = state.made.find(name);
    if (it != state.made.end()) {
        it->second->Unname();
        state.made.erase(it);
    }
}

size_t MappedViews() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    return state.views.size();
}

size_t OpenSyncHandles() {
    return handles::Count(
        [](const handles::Object& o) { return dynamic_cast<const Named*>(&o) != nullptr; });
}

std::vector<std::string> ClosedSyncHandles() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    return state.closed;
}

void ResetSync() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.Unname();
    state.views.clear();
    state.closed.clear();
    state.hooks = {};
}

} // namespace host

using namespace host;

extern "C" HANDLE KORV_STDCALL OpenSemaphoreA(DWORD, BOOL, const char* name) {
    auto object = SharedObject::Open(name, Kind::Semaphore);
    return object != nullptr ? handles::Open(std::make_shared<Semaphore>(std::move(object)))
                             : nullptr;
}

extern "C" DWORD KORV_STDCALL WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    const auto semaphore = handles::FindAs<Semaphore>(object);
    return semaphore != nullptr ? WaitFor(*semaphore, milliseconds) : WAIT_FAILED;
}

extern "C" BOOL KORV_STDCALL ReleaseSemaphore(HANDLE object, LONG count, LONG* previous) {
    const auto semaphore = handles::FindAs<Semaphore>(object);
    if (semaphore == nullptr) {
        return 0;
    }
    Tell(TheState().hooks.release, semaphore->object->Name());
    return semaphore->Words().Release(count, previous) ? 1 : 0;
}

extern "C" HANDLE KORV_STDCALL OpenFileMappingA(DWORD, BOOL, const char* name) {
    auto object = SharedObject::Open(name, Kind::Mapping);
    return object != nullptr ? handles::Open(std::make_shared<Mapping>(std::move(object)))
                             : nullptr;
}

extern "C" void* KORV_STDCALL MapViewOfFile(HANDLE object, DWORD, DWORD offsetHigh, DWORD offsetLow,
                                            DWORD bytes) {
    const auto mapping = handles::FindAs<Mapping>(object);
    if (mapping == nullptr || offsetHigh != 0 || offsetLow > mapping->object->Bytes() ||
        bytes > mapping->object->Bytes() - offsetLow) {
        return nullptr;
    }
    void* view = mapping->object->Memory() + offsetLow;
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.views.emplace(view, mapping->object);
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
