#pragma once
// Memory under a name, shared by the processes of a session.
#include "host/win32/shared/process_mark.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace host {

// The session that this process belongs to. Until told otherwise, and when told "", it has one of
// its own, which processes that it forks from then on have part in.
void SetSession(const std::string& name);
const std::string& Session();

class SharedObject {
  public:
    enum class Kind : uint32_t { None, Semaphore, Mapping };

    // Makes an object of `bytes` zeroes; `fill` may write to them before others can see it. One of
    // that name that this process has made, or that is left from a process that has ended, gives
    // way. Throws std::runtime_error when there is one of another process, or no memory.
    static std::shared_ptr<SharedObject> Create(const std::string& name, Kind kind, size_t bytes,
                                                const std::function<void(uint8_t*)>& fill = {});
    // The object of that name; null if there is none of that kind, or if its maker has ended.
    static std::shared_ptr<SharedObject> Open(const std::string& name, Kind kind);
    // Removes what processes that have ended left behind, in all sessions of this user.
    static void RemoveStale();

    ~SharedObject();
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    const std::string& Name() const { return name_; }
    uint8_t* Memory();
    size_t Bytes() const;
    // True while the process that made it runs.
    bool MakerRuns() const;
    // Takes the name away, if this process is the maker; who has the object open keeps it.
    void Unname();

  private:
    struct Header;
    SharedObject(std::string name, std::string path, Header* header, size_t mapped);

    static Header* Map(const std::string& path, size_t& mapped);
    // Takes the name away if its maker has ended, or if it is the process given.
    static void RemoveIfStale(const std::string& path, int32_t orMadeBy = 0);

    const std::string name_, path_; // the path among all sessions' objects
    Header* const header_;
    const size_t mapped_; // bytes
};

} // namespace host
