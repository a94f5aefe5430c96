// Named objects of one process: a map.
#include "host/win32/named_objects.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

namespace host {

namespace {

class Names {
  public:
    void Put(const std::shared_ptr<NamedObject>& object) {
        std::lock_guard lock(mutex_);
        objects_[object->Name()] = object;
    }
    // Null for none of that kind.
    template <class Kind>
    std::shared_ptr<Kind> Find(const std::string& name) {
        std::lock_guard lock(mutex_);
        const auto it = objects_.find(name);
        return it != objects_.end() ? std::dynamic_pointer_cast<Kind>(it->second.lock()) : nullptr;
    }
    void Remove(const NamedObject& object) {
        std::lock_guard lock(mutex_);
        const auto it = objects_.find(object.Name());
        if (it != objects_.end() && it->second.lock().get() == &object) {
            objects_.erase(it);
        }
    }

  private:
    std::mutex mutex_;
    // The maker keeps them: an object that nobody has is no more.
    std::map<std::string, std::weak_ptr<NamedObject>> objects_;
};

Names& TheNames() {
    // Whoever keeps objects may take their names away later than this would be gone.
    static Names& names = *new Names;
    return names;
}

class Semaphore : public SemaphoreObject {
  public:
    Semaphore(const std::string& name, int32_t count, int32_t maximum)
        : SemaphoreObject(name), count_(count), maximum_(maximum) {}

    bool MakerRuns() const override { return true; }
    void Unname() override { TheNames().Remove(*this); }
    int32_t Count() const override {
        std::lock_guard lock(mutex_);
        return count_;
    }
    bool Release(int32_t n, int32_t* previous) override {
        {
            std::lock_guard lock(mutex_);
            if (n <= 0 || n > maximum_ - count_) {
                return false;
            }
            if (previous != nullptr) {
                *previous = count_;
            }
            count_ += n;
        }
        released_.notify_all();
        return true;
    }
    bool Wait(uint32_t milliseconds) override {
        std::unique_lock lock(mutex_);
        if (!released_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                [this] { return count_ > 0; })) {
            return false;
        }
        --count_;
        return true;
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable released_;
    int32_t count_;
    const int32_t maximum_;
};

class Mapping : public MappingObject {
  public:
    Mapping(const std::string& name, size_t bytes)
        : MappingObject(name), bytes_(bytes), memory_((bytes + 7) / 8) {}

    bool MakerRuns() const override { return true; }
    void Unname() override { TheNames().Remove(*this); }
    uint8_t* Memory() override { return reinterpret_cast<uint8_t*>(memory_.data()); }
    size_t Bytes() const override { return bytes_; }

  private:
    const size_t bytes_;
    std::vector<uint64_t> memory_; // aligned for what is laid over it
};

class InProcess : public NamedObjects {
  public:
    std::shared_ptr<SemaphoreObject> CreateSemaphore(const std::string& name, int32_t count,
                                                     int32_t maximum) override {
        return Named(std::make_shared<Semaphore>(name, count, maximum));
    }
    std::shared_ptr<MappingObject> CreateMapping(const std::string& name, size_t bytes) override {
        return Named(std::make_shared<Mapping>(name, bytes));
    }
    std::shared_ptr<SemaphoreObject> OpenSemaphore(const std::string& name) override {
        return TheNames().Find<SemaphoreObject>(name);
    }
    std::shared_ptr<MappingObject> OpenMapping(const std::string& name) override {
        return TheNames().Find<MappingObject>(name);
    }

  private:
    template <class Object>
    static std::shared_ptr<Object> Named(std::shared_ptr<Object> object) {
        TheNames().Put(object);
        return object;
    }
};

} // namespace

NamedObjects& InProcessObjects() {
    static InProcess objects;
    return objects;
}

} // namespace host
