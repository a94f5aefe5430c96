#include "stream/live_marks.h"

namespace stream {

void LiveMarks::Follow(const Mark& mark) {
    const int64_t id = mark.Number("id").value_or(0);
    const int64_t handle = mark.Number("handle").value_or(0);
    switch (mark.kind) {
    case MarkKind::Display:
        displays_[mark.Number("number").value_or(0)] = mark;
        break;
    case MarkKind::Mode:
        mode_ = mark;
        break;
    case MarkKind::Surface:
        surfaces_[id] = mark;
        break;
    case MarkKind::SurfaceName:
        if (const auto found = surfaces_.find(id); found != surfaces_.end()) {
            found->second.name = mark.name;
        }
        break;
    case MarkKind::SurfaceGone:
        surfaces_.erase(id);
        break;
    case MarkKind::Context:
        contexts_[handle] = mark;
        break;
    case MarkKind::ContextGone:
        contexts_.erase(handle);
        break;
    case MarkKind::Picture:
        picture_ = mark;
        std::erase_if(picture_->fields, [](const MarkField& field) {
            return field.name == "frameBuffer" || field.name == "localBuffer" ||
                   field.name == "registers";
        });
        break;
    default:
        break;
    }
}

std::vector<Mark> LiveMarks::All() const {
    std::vector<Mark> all;
    const auto add = [&all](const auto& marks) {
        for (const auto& [number, mark] : marks) {
            all.push_back(mark);
        }
    };
    add(displays_);
    if (mode_) {
        all.push_back(*mode_);
    }
    add(surfaces_);
    add(contexts_);
    if (picture_) {
        all.push_back(*picture_);
    }
    return all;
}

} // namespace stream
