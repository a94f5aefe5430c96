#include "tests/house/include_graph.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace house {

namespace {

constexpr const char* kCodeFolders[] = {"chip", "driver", "board", "stream", "remote",
                                        "host", "tools",  "web",   "bench"};

// The name between the two marks of an include line; empty for any other line.
std::string Included(const std::string& line, char open, char close) {
    const std::string directive = std::string("#include ") + open;
    if (line.rfind(directive, 0) != 0) {
        return "";
    }
    return line.substr(directive.size(), line.find(close, directive.size()) - directive.size());
}

std::vector<std::string> Words(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

using Edges = std::map<std::string, std::set<std::string>>;

// The first ring that a walk from each node in turn finds.
std::string CircleIn(const Edges& edges) {
    enum State { Unseen, Open, Done };
    std::map<std::string, State> states;
    std::vector<std::string> path;
    std::string ring;
    const std::function<bool(const std::string&)> visit = [&](const std::string& node) {
        states[node] = Open;
        path.push_back(node);
        if (const auto found = edges.find(node); found != edges.end()) {
            for (const std::string& next : found->second) {
                if (states[next] == Open) {
                    for (auto at = std::ranges::find(path, next); at != path.end(); ++at) {
                        ring += *at + " -> ";
                    }
                    ring += next;
                    return true;
                }
                if (states[next] == Unseen && visit(next)) {
                    return true;
                }
            }
        }
        path.pop_back();
        states[node] = Done;
        return false;
    };
    for (const auto& [node, targets] : edges) {
        if (states[node] == Unseen && visit(node)) {
            break;
        }
    }
    return ring;
}

bool IsCode(const std::filesystem::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp" || path.extension() == ".def";
}

} // namespace

std::string TextOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + file.string());
    }
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::set<std::string> SystemHeaders(const std::filesystem::path& folder) {
    std::set<std::string> headers;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!IsCode(entry.path())) {
            continue;
        }
        std::istringstream lines(TextOf(entry.path()));
        for (std::string line; std::getline(lines, line);) {
            if (const std::string header = Included(line, '<', '>'); !header.empty()) {
                headers.insert(header);
            }
        }
    }
    return headers;
}

IncludeGraph ReadIncludes(const std::filesystem::path& project) {
    IncludeGraph graph;
    for (const char* folder : kCodeFolders) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(project / folder)) {
            const std::filesystem::path& path = entry.path();
            if (!IsCode(path)) {
                continue;
            }
            std::set<std::string>& includes =
                graph[path.lexically_relative(project).generic_string()];
            std::istringstream lines(TextOf(path));
            for (std::string line; std::getline(lines, line);) {
                if (const std::string included = Included(line, '"', '"'); !included.empty()) {
                    includes.insert(included);
                }
            }
        }
    }
    return graph;
}

std::string RoomRules::RoomOf(std::string_view file) const {
    std::string room(file);
    while (!rooms.contains(room)) {
        const size_t end = room.find_last_of("./");
        if (end == std::string::npos) {
            return "";
        }
        room.resize(end);
    }
    return room;
}

RoomRules ParseRules(const std::string& text) {
    RoomRules rules;
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const std::vector<std::string> words = Words(line.substr(0, line.find('#')));
        if (words.empty()) {
            continue;
        }
        if (words.front().back() != ':') {
            throw std::runtime_error("line " + std::to_string(number) +
                                     ": expected 'ROOM: ROOM ...'");
        }
        const std::string room = words.front().substr(0, words.front().size() - 1);
        if (!rules.rooms.try_emplace(room, words.begin() + 1, words.end()).second) {
            throw std::runtime_error("line " + std::to_string(number) + ": room '" + room +
                                     "' stands twice");
        }
    }
    for (const auto& [room, known] : rules.rooms) {
        for (const std::string& other : known) {
            if (!rules.rooms.contains(other)) {
                throw std::runtime_error("room '" + room + "' may know '" + other +
                                         "', which is no room");
            }
        }
    }
    return rules;
}

RoomRules ReadRules(const std::filesystem::path& file) {
    return ParseRules(TextOf(file));
}

std::vector<Arrow> ForbiddenArrows(const IncludeGraph& graph, const RoomRules& rules) {
    std::vector<Arrow> forbidden;
    for (const auto& [file, includes] : graph) {
        const std::string room = rules.RoomOf(file);
        for (const std::string& included : includes) {
            const std::string other = rules.RoomOf(included);
            const auto known = rules.rooms.find(room);
            const bool allowed =
                room == other || (known != rules.rooms.end() && known->second.contains(other));
            if (!allowed) {
                forbidden.push_back({file, included});
            }
        }
    }
    return forbidden;
}

std::vector<std::string> UnusedRules(const IncludeGraph& graph, const RoomRules& rules) {
    std::set<std::pair<std::string, std::string>> used;
    for (const auto& [file, includes] : graph) {
        for (const std::string& included : includes) {
            used.emplace(rules.RoomOf(file), rules.RoomOf(included));
        }
    }
    std::vector<std::string> unused;
    for (const auto& [room, known] : rules.rooms) {
        for (const std::string& other : known) {
            if (!used.contains({room, other})) {
                unused.push_back(room + " -> " + other);
            }
        }
    }
    return unused;
}

std::string CircleOfRooms(const RoomRules& rules) {
    return CircleIn(rules.rooms);
}

std::string CircleOfUnits(const IncludeGraph& graph, const std::string& folder) {
    const auto stem = [](const std::string& file) { return file.substr(0, file.rfind('.')); };
    Edges edges;
    for (const auto& [file, includes] : graph) {
        for (const std::string& included : includes) {
            if (file.starts_with(folder) && stem(file) != stem(included)) {
                edges[stem(file)].insert(stem(included));
            }
        }
    }
    return CircleIn(edges);
}

std::string CircleOfHeaders(const IncludeGraph& graph) {
    return CircleIn(graph);
}

} // namespace house
