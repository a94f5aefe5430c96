#include "tools/korv/model/materials.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"

#include <algorithm>
#include <sstream>

// The bodies of the library, compiled here.
#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

namespace korv {

namespace {

// Written with either slash.
std::filesystem::path PathOf(std::string name) {
    std::ranges::replace(name, '\\', '/');
    return name;
}

} // namespace

void MaterialLibrary::Load(std::string_view files, std::vector<std::string>& warnings) {
    // One name with blanks in it, or several names.
    std::vector<std::string> names{std::string(files)};
    if (!FileExists(folder_ / PathOf(names[0]))) {
        std::istringstream words{names[0]};
        names.clear();
        for (std::string word; words >> word;) {
            names.push_back(word);
        }
    }
    for (const std::string& name : names) {
        std::string text;
        try {
            text = ReadFile(folder_ / PathOf(name));
        } catch (const SharedFileError&) {
            throw;
        } catch (const UserError& error) {
            warnings.push_back(std::string(error.what()) + ", drawing without its materials");
            continue;
        }
        std::istringstream stream(text);
        std::map<std::string, int> numbers;
        std::vector<tinyobj::material_t> read;
        std::string ignoredWarning, ignoredError;
        tinyobj::LoadMtl(&numbers, &read, &stream, &ignoredWarning, &ignoredError);
        for (const auto& [material, number] : numbers) {
            const tinyobj::material_t& from = read[static_cast<size_t>(number)];
            numbers_[material] = static_cast<int>(materials_.size());
            materials_.push_back({{from.diffuse[0], from.diffuse[1], from.diffuse[2]},
                                  from.diffuse_texname.empty()
                                      ? ""
                                      : (folder_ / PathOf(from.diffuse_texname)).string()});
        }
    }
}

int MaterialLibrary::Find(std::string_view name) const {
    const auto found = numbers_.find(name);
    return found == numbers_.end() ? -1 : found->second;
}

} // namespace korv
