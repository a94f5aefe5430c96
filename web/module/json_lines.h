#pragma once
// The JSON that stream/dump.h writes.
#include "stream/dump.h"
#include "web/module/stream_bytes.h"

namespace web {

// The objects that Dump writes, as far as the stream is good. StreamError for a place that is not
// there.
Json DumpLines(stream::Source& source, const stream::DumpOptions& options);

} // namespace web
