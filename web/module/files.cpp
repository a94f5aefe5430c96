// The tool's files (tools/korv/base/files.h), for a module that has no others than those it is
// given.
#include "web/module/files.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"

#include <fmt/format.h>

#include <map>

namespace web {

namespace {

std::map<std::string, std::string>& Files() {
    static std::map<std::string, std::string> files;
    return files;
}

// Folders do not matter: what is dropped onto a page has none.
std::string NameOf(const std::filesystem::path& path) {
    const std::string name = path.string();
    const size_t slash = name.find_last_of("/\\");
    return slash == std::string::npos ? name : name.substr(slash + 1);
}

} // namespace

void KeepFile(const std::string& name, std::string bytes) {
    Files()[NameOf(name)] = std::move(bytes);
}

void ForgetFiles() {
    Files().clear();
}

} // namespace web

namespace korv {

bool FileExists(const std::filesystem::path& path) {
    return web::Files().contains(web::NameOf(path));
}

std::string ReadFile(const std::filesystem::path& path, size_t most) {
    const auto found = web::Files().find(web::NameOf(path));
    if (found == web::Files().end()) {
        throw UserError(fmt::format("cannot read '{}': no such file", web::NameOf(path)));
    }
    if (found->second.size() > most) {
        throw UserError(
            fmt::format("cannot read '{}': larger than {} MB", web::NameOf(path), most >> 20));
    }
    return found->second;
}

} // namespace korv
