#pragma once
// Named semaphores and mappings: who keeps them. There are two forms, told apart at run time: the
// names of this process alone, which is in force until told otherwise, and host/win32/shared, where
// the processes of a session share them. The second one is a library of its own that a program
// without processes does not link.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace host {

// Names distinguish case. Who has an object open keeps it when it loses its name.
class NamedObject {
  public:
    explicit NamedObject(std::string name) : name_(std::move(name)) {}
    virtual ~NamedObject() = default;
    NamedObject(const NamedObject&) = delete;
    NamedObject& operator=(const NamedObject&) = delete;

    const std::string& Name() const { return name_; }
    // True while the process that made it runs.
    virtual bool MakerRuns() const = 0;
    // Takes the name away, if this process is the maker.
    virtual void Unname() = 0;

  private:
    const std::string name_;
};

class SemaphoreObject : public NamedObject {
  public:
    using NamedObject::NamedObject;
    virtual int32_t Count() const = 0;
    // Adds `n`. False, with nothing changed, for n below 1 or beyond the maximum.
    virtual bool Release(int32_t n, int32_t* previous) = 0;
    // Takes one, or waits up to `milliseconds` for one. False if none came.
    virtual bool Wait(uint32_t milliseconds) = 0;
};

class MappingObject : public NamedObject {
  public:
    using NamedObject::NamedObject;
    virtual uint8_t* Memory() = 0;
    virtual size_t Bytes() const = 0;
};

// One space of names for objects of both kinds. To create one takes the place of what this process
// has made under that name; it throws std::runtime_error for one of another process, and without
// memory. To open one gives null if there is none of that kind whose maker runs.
class NamedObjects {
  public:
    virtual ~NamedObjects() = default;
    virtual std::shared_ptr<SemaphoreObject> CreateSemaphore(const std::string& name, int32_t count,
                                                             int32_t maximum) = 0;
    // Of zero bytes.
    virtual std::shared_ptr<MappingObject> CreateMapping(const std::string& name, size_t bytes) = 0;
    virtual std::shared_ptr<SemaphoreObject> OpenSemaphore(const std::string& name) = 0;
    virtual std::shared_ptr<MappingObject> OpenMapping(const std::string& name) = 0;
};

// Those of this process alone.
NamedObjects& InProcessObjects();

// Those in force.
NamedObjects& TheNamedObjects();
// Puts others in force. What was made before stays where it is.
void UseNamedObjects(NamedObjects& objects);

} // namespace host
