#include "tools/korv/base/claims.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <sys/sysmacros.h>
#include <tuple>
#include <unistd.h>

namespace korv {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;

// Device and number of a file that exists, else the one name it will have.
using Identity = std::tuple<dev_t, ino_t, std::string>;

struct Held {
    std::string name;
    Identity identity;
};

std::map<const OutputClaim*, Held> held;
// By when each changed last: the number of a file that was removed is given to another.
std::map<Identity, timespec> inputs;
bool standardOutputTaken = false;

Identity IdentityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, ""};
}

fs::path FolderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

Identity IdentityOf(const Target& target) {
    struct stat status {};
    if (target.Stat(status)) {
        return IdentityOf(status);
    }
    std::error_code none;
    const fs::path folder = fs::canonical(FolderOf(target.file), none);
    return {0, 0, (folder / target.file.filename()).string()};
}

// The descriptor of this process that `file` names, or -1.
int DescriptorOf(const fs::path& file) {
    std::error_code none;
    const fs::path folder = fs::canonical(FolderOf(file), none);
    if (none || folder != fs::canonical("/proc/self/fd", none) || none) {
        return -1;
    }
    const std::string number = file.filename().string();
    int descriptor = -1;
    const auto [end, error] =
        std::from_chars(number.data(), number.data() + number.size(), descriptor);
    return error == std::errc() && *end == '\0' ? descriptor : -1;
}

bool IsSame(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool IsNullDevice(const struct stat& status) {
    return S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
}

} // namespace

bool Target::Stat(struct stat& status) const {
    return (descriptor >= 0 ? fstat(descriptor, &status) : stat(file.c_str(), &status)) == 0;
}

bool Target::IsSpecial() const {
    struct stat status {};
    return descriptor >= 0 || (Stat(status) && !S_ISREG(status.st_mode));
}

Target TargetOf(const fs::path& name) {
    if (name == kStandardOutput) {
        return {{}, STDOUT_FILENO};
    }
    fs::path file = name;
    for (int links = 0; links <= kMostLinks; ++links) {
        if (const int descriptor = DescriptorOf(file); descriptor >= 0) {
            return {{}, descriptor};
        }
        std::error_code none;
        const fs::path link = fs::read_symlink(file, none);
        if (none) {
            return {file};
        }
        file = FolderOf(file) / link;
    }
    throw UserError(fmt::format("cannot write '{}': {}", name.string(), std::strerror(ELOOP)));
}

OutputClaim::OutputClaim(const fs::path& name) {
    const Target target = TargetOf(name);
    struct stat status {};
    if (target.Stat(status) && IsNullDevice(status)) {
        return;
    }
    const Identity identity = IdentityOf(target);
    const auto input = inputs.find(identity);
    if (input != inputs.end() && IsSame(input->second, status.st_ctim)) {
        throw SharedFileError(
            fmt::format("'{}' is also read: expected another name for the output", name.string()));
    }
    const auto other = std::ranges::find_if(
        held, [&](const auto& one) { return one.second.identity == identity; });
    if (other != held.end()) {
        const std::string& otherName = other->second.name;
        throw SharedFileError(
            target.descriptor == STDOUT_FILENO
                ? "two outputs go to standard output: expected a file for one of them"
            : otherName == name.string()
                ? fmt::format("two outputs go to '{}': expected a name for each", otherName)
                : fmt::format("'{}' and '{}' are the same file: expected a name for each output",
                              otherName, name.string()));
    }
    held[this] = {name.string(), identity};
    standardOutputTaken |= target.descriptor == STDOUT_FILENO;
}

OutputClaim::~OutputClaim() {
    held.erase(this);
}

void NoteInput(const fs::path& name, const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        return;
    }
    const Identity identity = IdentityOf(status);
    for (const auto& [claim, one] : held) {
        if (one.identity == identity) {
            throw SharedFileError(
                fmt::format("'{}' is also read{}: expected another name for the output", one.name,
                            one.name == name ? "" : " as '" + name.string() + "'"));
        }
    }
    inputs[identity] = status.st_ctim;
}

bool StandardOutputTaken() {
    return standardOutputTaken;
}

void ForgetFiles() {
    inputs.clear();
    standardOutputTaken = std::ranges::any_of(held, [](const auto& one) {
        return TargetOf(one.second.name).descriptor == STDOUT_FILENO;
    });
}

} // namespace korv
