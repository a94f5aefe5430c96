#include "host/observe/observer.h"

#include <algorithm>
#include <vector>

namespace host {

namespace {

std::vector<Observer*>& TheObservers() {
    static std::vector<Observer*> observers;
    return observers;
}

} // namespace

Observer::Observer() {
    TheObservers().push_back(this);
}

Observer::~Observer() {
    std::erase(TheObservers(), this);
}

bool Observed() {
    return !TheObservers().empty();
}

bool MemoriesWatched() {
    return std::ranges::any_of(TheObservers(),
                               [](const Observer* one) { return one->WatchesMemories(); });
}

Observer* ObserverAt(size_t index) {
    return index < TheObservers().size() ? TheObservers()[index] : nullptr;
}

} // namespace host
