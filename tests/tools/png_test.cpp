#include "tools/korv/images/png.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

TEST(Png, PixelsMayComeInChunksOfWhichSomeHoldNone) {
    const host::Picture picture{2, 1, {1, 2, 3, 255, 4, 5, 6, 255}};
    std::ostringstream out;
    korv::WritePng(out, picture);
    std::string file = out.str();
    // Behind signature and header.
    file.insert(33, std::string("\0\0\0\0IDAT\x35\xAF\x06\x1E", 12));
    EXPECT_EQ(korv::DecodePng(file).rgba, picture.rgba);
}

} // namespace
