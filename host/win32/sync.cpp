#include "host/win32/sync.h"

#include "host/win32/handles.h"
#include "host/win32/named_objects.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace host {

namespace {

// How often a wait without limit looks whether anybody is left who could end it.
constexpr DWORD kMakerCheck = 50; // milliseconds

struct State {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<NamedObject>> made; // by this process
    std::multimap<const void*, std::shared_ptr<MappingObject>> views;
    std::vector<std::string> closed;
    std::vector<SyncRequest> requests;
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

// What handles of these objects name.
struct Named : handles::Object {
    void HandleClosed() override {
        State& state = TheState();
        std::lock_guard lock(state.mutex);
        state.closed.push_back(Object().Name());
    }
    virtual const NamedObject& Object() const = 0;
};

template <class Kind>
struct HandleOf : Named {
    explicit HandleOf(std::shared_ptr<Kind> o) : object(std::move(o)) {}
    const NamedObject& Object() const override { return *object; }
    const std::shared_ptr<Kind> object;
};
using Semaphore = HandleOf<SemaphoreObject>;
using Mapping = HandleOf<MappingObject>;

// A new handle; null for no object.
template <class Kind>
HANDLE Handle(std::shared_ptr<Kind> object) {
    return object != nullptr ? handles::Open(std::make_shared<HandleOf<Kind>>(std::move(object)))
                             : nullptr;
}

// Keeps what this process has made.
void Keep(std::shared_ptr<NamedObject> object) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.made[object->Name()] = std::move(object);
}

void Tell(const std::function<void(const std::string&)>& hook, const std::string& name) {
    if (hook) {
        hook(name);
    }
}

void Note(const std::string& name, DWORD access, BOOL inherit) {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.requests.push_back({name, access, inherit});
}

DWORD WaitFor(SemaphoreObject& semaphore, DWORD milliseconds) {
    if (semaphore.Count() == 0) {
        Tell(TheState().hooks.idle, semaphore.Name());
    }
    if (milliseconds != INFINITE) {
        return semaphore.Wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }
    while (!semaphore.Wait(kMakerCheck)) {
        if (!semaphore.MakerRuns()) {
            Tell(TheState().hooks.makerLost, semaphore.Name());
            return WAIT_FAILED;
        }
    }
    return WAIT_OBJECT_0;
}

} // namespace

void CreateNamedSemaphore(const std::string& name, int32_t count, int32_t maximum) {
    Keep(TheNamedObjects().CreateSemaphore(name, count, maximum));
}

int32_t SemaphoreCount(const std::string& name) {
    const auto semaphore = TheNamedObjects().OpenSemaphore(name);
    return semaphore != nullptr ? semaphore->Count() : -1;
}

bool SignalSemaphore(const std::string& name) {
    const auto semaphore = TheNamedObjects().OpenSemaphore(name);
    return semaphore != nullptr && semaphore->Release(1, nullptr);
}

bool AwaitSemaphore(const std::string& name, DWORD milliseconds) {
    const auto semaphore = TheNamedObjects().OpenSemaphore(name);
    return semaphore != nullptr && semaphore->Wait(milliseconds);
}

void SetSemaphoreHooks(SemaphoreHooks hooks) {
    TheState().hooks = std::move(hooks);
}

void* CreateNamedMapping(const std::string& name, size_t bytes) {
    auto mapping = TheNamedObjects().CreateMapping(name, bytes);
    void* memory = mapping->Memory();
    Keep(std::move(mapping));
    return memory;
}

std::shared_ptr<void> NamedMapping(const std::string& name) {
    auto mapping = TheNamedObjects().OpenMapping(name);
    if (mapping == nullptr) {
        return nullptr;
    }
    void* memory = mapping->Memory();
    return {std::move(mapping), memory};
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

std::vector<SyncRequest> SyncRequests() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    return state.requests;
}

void ResetSync() {
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    state.Unname();
    state.views.clear();
    state.closed.clear();
    state.requests.clear();
    state.hooks = {};
}

} // namespace host

using namespace host;

extern "C" HANDLE KORV_STDCALL OpenSemaphoreA(DWORD access, BOOL inherit, const char* name) {
    Note(name, access, inherit);
    return Handle(TheNamedObjects().OpenSemaphore(name));
}

extern "C" DWORD KORV_STDCALL WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    const auto semaphore = handles::FindAs<Semaphore>(object);
    return semaphore != nullptr ? WaitFor(*semaphore->object, milliseconds) : WAIT_FAILED;
}

extern "C" BOOL KORV_STDCALL ReleaseSemaphore(HANDLE object, LONG count, LONG* previous) {
    const auto semaphore = handles::FindAs<Semaphore>(object);
    if (semaphore == nullptr) {
        return 0;
    }
    Tell(TheState().hooks.release, semaphore->object->Name());
    return semaphore->object->Release(count, previous) ? 1 : 0;
}

extern "C" HANDLE KORV_STDCALL OpenFileMappingA(DWORD access, BOOL inherit, const char* name) {
    Note(name, access, inherit);
    return Handle(TheNamedObjects().OpenMapping(name));
}

extern "C" void* KORV_STDCALL MapViewOfFile(HANDLE object, DWORD access, DWORD offsetHigh,
                                            DWORD offsetLow, DWORD bytes) {
    const auto mapping = handles::FindAs<Mapping>(object);
    if (mapping != nullptr) {
        Note(mapping->object->Name(), access, 0);
    }
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
