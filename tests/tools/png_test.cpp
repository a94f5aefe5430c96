#include "tools/korv/base/errors.h"
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

// Grey, one pixel; the compressed data's only block is of type 3, which there is not.
TEST(Png, DataThatCannotBeReadAreADamagedPicture) {
    constexpr char kFile[] = "\x89PNG\r\n\x1A\n"
                             "\0\0\0\rIHDR\0\0\0\1\0\0\0\1\x8\0\0\0\0\0\0\0\0"
                             "\0\0\0\3IDAT\x78\1\7\0\0\0\0"
                             "\0\0\0\0IEND\0\0\0";
    try {
        korv::DecodePng(std::string_view(kFile, sizeof kFile));
        FAIL() << "it was read";
    } catch (const korv::UserError& error) {
        EXPECT_STREQ(error.what(), "the PNG is damaged or cut short, expected a whole one");
    }
}

} // namespace
