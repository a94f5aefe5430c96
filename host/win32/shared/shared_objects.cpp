#include "host/win32/shared/shared_objects.h"

#include "host/win32/shared/shared_object.h"
#include "host/win32/shared/shared_semaphore.h"

#include <new>

namespace host {

namespace {

using Kind = SharedObject::Kind;

// What both kinds have in common: the shared memory that they lie in.
template <class Base>
class InSharedMemory : public Base {
  public:
    explicit InSharedMemory(std::shared_ptr<SharedObject> object)
        : Base(object->Name()), object_(std::move(object)) {}
    bool MakerRuns() const override { return object_->MakerRuns(); }
    void Unname() override { object_->Unname(); }

  protected:
    const std::shared_ptr<SharedObject> object_;
};

class Semaphore : public InSharedMemory<SemaphoreObject> {
  public:
    using InSharedMemory::InSharedMemory;
    int32_t Count() const override { return Words().count; }
    bool Release(int32_t n, int32_t* previous) override { return Words().Release(n, previous); }
    bool Wait(uint32_t milliseconds) override { return Words().Wait(milliseconds); }

  private:
    SharedSemaphore& Words() const {
        return *reinterpret_cast<SharedSemaphore*>(object_->Memory());
    }
};

class Mapping : public InSharedMemory<MappingObject> {
  public:
    using InSharedMemory::InSharedMemory;
    uint8_t* Memory() override { return object_->Memory(); }
    size_t Bytes() const override { return object_->Bytes(); }
};

template <class Object>
std::shared_ptr<Object> Opened(const std::string& name, Kind kind) {
    auto object = SharedObject::Open(name, kind);
    return object != nullptr ? std::make_shared<Object>(std::move(object)) : nullptr;
}

class Shared : public NamedObjects {
  public:
    std::shared_ptr<SemaphoreObject> CreateSemaphore(const std::string& name, int32_t count,
                                                     int32_t maximum) override {
        return std::make_shared<Semaphore>(SharedObject::Create(
            name, Kind::Semaphore, sizeof(SharedSemaphore), [&](uint8_t* memory) {
                new (memory) SharedSemaphore{count, maximum};
            }));
    }
    std::shared_ptr<MappingObject> CreateMapping(const std::string& name, size_t bytes) override {
        return std::make_shared<Mapping>(SharedObject::Create(name, Kind::Mapping, bytes));
    }
    std::shared_ptr<SemaphoreObject> OpenSemaphore(const std::string& name) override {
        return Opened<Semaphore>(name, Kind::Semaphore);
    }
    std::shared_ptr<MappingObject> OpenMapping(const std::string& name) override {
        return Opened<Mapping>(name, Kind::Mapping);
    }
};

} // namespace

NamedObjects& SharedObjects() {
    static Shared objects;
    return objects;
}

} // namespace host
