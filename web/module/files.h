#pragma once
// The files of the module: bytes that the page has handed in, by name.
#include <string>

namespace web {

void KeepFile(const std::string& name, std::string bytes);
void ForgetFiles();

} // namespace web
