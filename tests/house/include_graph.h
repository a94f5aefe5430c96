#pragma once
// The includes of a source tree, and the rules of which room may know which.
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace house {

// File, by its path below the project's folder -> the project's files that it includes.
using IncludeGraph = std::map<std::string, std::set<std::string>>;

// A file's text. std::runtime_error if it cannot be read.
std::string TextOf(const std::filesystem::path& file);

// Reads all .h, .cpp and .def files below the folders of the project that hold code.
IncludeGraph ReadIncludes(const std::filesystem::path& project);

// The headers in angle brackets that the code below a folder includes.
std::set<std::string> SystemHeaders(const std::filesystem::path& folder);

// The rules, a line each: "ROOM: ROOM ROOM ..." lets the files of a room include those of the rooms
// named. A room is a folder, or the files of one name that stand on another floor than their
// folder; a file belongs to the narrowest room that holds it. '#' begins a comment.
struct RoomRules {
    std::map<std::string, std::set<std::string>> rooms;

    // Empty if the file is in none.
    std::string RoomOf(std::string_view file) const;
};

// std::runtime_error, with the line, for text that is not of that form.
RoomRules ParseRules(const std::string& text);
RoomRules ReadRules(const std::filesystem::path& file);

struct Arrow {
    std::string file, included;
};

// Includes that no rule allows.
std::vector<Arrow> ForbiddenArrows(const IncludeGraph& graph, const RoomRules& rules);
// Rules without an include that needs them, "a -> b".
std::vector<std::string> UnusedRules(const IncludeGraph& graph, const RoomRules& rules);
// Rooms that may know each other in a ring, "a -> b -> a"; empty if there are none.
std::string CircleOfRooms(const RoomRules& rules);
// Files below `folder` that include each other in a ring, a header and its source being one:
// "a -> b -> a".
std::string CircleOfUnits(const IncludeGraph& graph, const std::string& folder);
// Headers that do.
std::string CircleOfHeaders(const IncludeGraph& graph);

} // namespace house
