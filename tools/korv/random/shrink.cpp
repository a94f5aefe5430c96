// Delta debugging over the steps of a session.
#include "tools/korv/random/trial.h"

#include <algorithm>
#include <set>

namespace korv::random {

namespace {

// Names that a step gives to what it makes.
std::set<std::string> Given(const Step& step) {
    std::set<std::string> names;
    static const std::set<std::string> kMakers{"display", "surface", "context", "texture",
                                               "memory"};
    if (kMakers.contains(step.value("do", "")) && step.contains("name")) {
        names.insert(step["name"].get<std::string>());
    }
    if (const auto save = step.find("save"); save != step.end()) {
        if (save->is_string()) {
            names.insert(save->get<std::string>());
        } else {
            for (const auto& [name, offset] : save->items()) {
                names.insert(name);
            }
        }
    }
    return names;
}

// Whether a text anywhere in it is one of the names, or of a chain behind one.
bool Mentions(const Step& value, const std::set<std::string>& names) {
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        return names.contains(text) || names.contains(text.substr(0, text.find('.')));
    }
    return value.is_structured() && std::any_of(value.begin(), value.end(), [&](const Step& part) {
               return Mentions(part, names);
           });
}

// The steps without `count` of them from `first` on, and without what these leave nameless.
Steps Without(const Steps& steps, size_t first, size_t count) {
    Steps left;
    std::set<std::string> gone;
    for (size_t i = 0; i < steps.size(); ++i) {
        if ((i >= first && i < first + count) || (!gone.empty() && Mentions(steps[i], gone))) {
            gone.merge(Given(steps[i]));
        } else {
            left.push_back(steps[i]);
        }
    }
    return left;
}

// Lists within a step that may be shorter.
constexpr const char* kLists[] = {"triangles", "states", "lines", "instructions"};

// What the board complains of, without how often and where; of other kinds the kind says enough.
std::string WithoutNumbers(const Finding& finding) {
    std::string text = finding.kind == "fault" ? finding.text : "";
    std::erase_if(text, [](char one) { return one >= '0' && one <= '9'; });
    return text;
}

class Shrinker {
  public:
    Shrinker(const Finding& finding, const TrialOptions& options, size_t tries)
        : kind_(finding.kind), text_(WithoutNumbers(finding)), options_(options), tries_(tries) {
        if (!kind_.starts_with("differs")) {
            options_.allRoads = false;
        }
        if (!kind_.ends_with("the DLL")) {
            options_.dll.clear();
        }
    }

    // What the options leave out may be what it takes.
    void Begin(const Steps& steps, const TrialOptions& all) {
        if (!StillFails(steps)) {
            options_ = all;
        }
    }

    void CutSteps(Steps& steps) {
        for (size_t size = std::max<size_t>(steps.size() / 2, 1);;) {
            bool cut = false;
            for (size_t end = steps.size(); end > 0 && tries_ != 0;) {
                const size_t first = end > size ? end - size : 0;
                Steps left = Without(steps, first, end - first);
                if (!left.empty() && StillFails(left)) {
                    steps = std::move(left);
                    cut = true;
                }
                end = std::min(first, steps.size());
            }
            if (tries_ == 0 || (size == 1 && !cut)) {
                return;
            }
            size = std::max<size_t>(size / 2, 1);
        }
    }

    void CutLists(Steps& steps) {
        for (size_t i = 0; i < steps.size(); ++i) {
            for (const char* list : kLists) {
                if (!steps[i].contains(list) || !steps[i][list].is_array()) {
                    continue;
                }
                for (size_t size = steps[i][list].size() / 2; size != 0; size /= 2) {
                    for (size_t at = 0; at + size <= steps[i][list].size() &&
                                        steps[i][list].size() > size && tries_ != 0;) {
                        Steps left = steps;
                        Step& part = left[i][list];
                        part.erase(part.begin() + static_cast<ptrdiff_t>(at),
                                   part.begin() + static_cast<ptrdiff_t>(at + size));
                        if (StillFails(left)) {
                            steps = std::move(left);
                        } else {
                            at += size;
                        }
                    }
                }
            }
        }
    }

  private:
    bool StillFails(const Steps& steps) {
        if (tries_ == 0) {
            return false;
        }
        --tries_;
        const TrialResult result = Try(steps, options_);
        return result.finding && result.finding->kind == kind_ &&
               WithoutNumbers(*result.finding) == text_;
    }

    std::string kind_, text_;
    TrialOptions options_;
    size_t tries_;
};

} // namespace

Steps Shrink(Steps steps, const Finding& finding, const TrialOptions& options, size_t tries) {
    Shrinker shrinker(finding, options, tries);
    shrinker.Begin(steps, options);
    shrinker.CutSteps(steps);
    shrinker.CutLists(steps);
    shrinker.CutSteps(steps);
    return steps;
}

} // namespace korv::random
