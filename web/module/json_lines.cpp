#include "web/module/json_lines.h"

#include "stream/error.h"

namespace web {

Json DumpLines(stream::Source& source, const stream::DumpOptions& options) {
    std::ostringstream out;
    try {
        Dump(source, options, out);
    } catch (const stream::StreamError&) {
        // What came before the damage is good.
        if (out.str().empty()) {
            throw;
        }
    }
    Json list = Json::array();
    std::istringstream lines(out.str());
    for (std::string line; std::getline(lines, line);) {
        list.push_back(Json::parse(line));
    }
    return list;
}

} // namespace web
