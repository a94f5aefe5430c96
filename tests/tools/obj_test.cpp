#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/model/shapes.h"

#include <gtest/gtest.h>

#include <sstream>

namespace korv {
namespace {

std::string Wrong(const std::string& text) {
    std::istringstream stream(text);
    return CheckObj(stream);
}

constexpr const char* kThreeVertices = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";

TEST(Obj, GoodTextHasNothingWrong) {
    EXPECT_EQ(Wrong(std::string(kThreeVertices) + "f 1 2 3\n"), "");
    EXPECT_EQ(Wrong("# comment\r\n\r\no name\r\nv +1e2 -0.5 .5 # more\r\nv 0 0 0\nv 1 1 1\n"
                    "vt 0.5\nvn 0 0 1\nf -3/1/1 2//1 3/1\n"),
              "");
}

TEST(Obj, NamesLineAndWantOfEachFault) {
    EXPECT_EQ(Wrong("v 1 2\n"), "1: 'v' has 2 numbers, expected 3");
    EXPECT_EQ(Wrong("\nv 1 two 3\n"), "2: 'two' after 'v', expected a number");
    EXPECT_EQ(Wrong("v 1 nan 3\n"), "1: 'nan' after 'v', expected a number");
    EXPECT_EQ(Wrong(std::string(kThreeVertices) + "f 1 2\n"),
              "4: face has 2 corners, expected 3 or more");
    EXPECT_EQ(Wrong(std::string(kThreeVertices) + "f 1 2 4\n"),
              "4: face uses vertex 4, but only 3 came before it");
    EXPECT_EQ(Wrong(std::string(kThreeVertices) + "f 1 2 -4\n"),
              "4: face uses vertex -4, but only 3 came before it");
    EXPECT_EQ(Wrong(std::string(kThreeVertices) + "f 1 2 0\n"),
              "4: '0' in a face, expected the number of a vertex");
    EXPECT_EQ(Wrong(std::string(kThreeVertices) + "f 1//1 2//1 3//1\n"),
              "4: face uses normal 1, but only 0 came before it");
    EXPECT_EQ(Wrong(kThreeVertices), "3: no face ('f') in the file");
    EXPECT_EQ(Wrong(std::string("\x7F"
                                "ELF\0\1",
                                6)),
              "1: not text, expected a Wavefront OBJ model");
}

TEST(Obj, LoadsPolygonsAndMakesNormals) {
    TemporaryFolder folder;
    const Mesh mesh =
        LoadObj(folder.Write("square.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n"));
    ASSERT_EQ(mesh.triangles.size(), 2u);
    for (const Vertex& v : mesh.vertices) {
        EXPECT_EQ(v.normal, (Vec3{0, 0, 1}));
    }
}

TEST(Obj, TakesDiffuseColoursOfMaterials) {
    TemporaryFolder folder;
    folder.Write("paint.mtl", "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
    const Mesh mesh =
        LoadObj(folder.Write("two.obj", std::string("mtllib paint.mtl\n") + kThreeVertices +
                                            "usemtl red\nf 1 2 3\nusemtl blue\nf 3 2 1\n"));
    ASSERT_EQ(mesh.triangles.size(), 2u);
    EXPECT_EQ(mesh.vertices[mesh.triangles[0][0]].colour, (Vec3{1, 0, 0}));
    EXPECT_EQ(mesh.vertices[mesh.triangles[1][0]].colour, (Vec3{0, 0, 1}));
}

TEST(Obj, TakesTextureCoordinatesWithVDownwards) {
    TemporaryFolder folder;
    const Mesh mesh = LoadObj(
        folder.Write("m.obj", std::string(kThreeVertices) +
                                  "vt 0.25 0.75\nvt 1 0\nvt 2 -1\nf 1/1 2/2 3/3\nf 1/3 3/2 2/2\n"));
    ASSERT_EQ(mesh.triangles.size(), 2u);
    EXPECT_TRUE(mesh.hasCoordinates);
    const auto at = [&](int triangle, int corner) {
        const Vertex& v = mesh.vertices[mesh.triangles[triangle][corner]];
        return std::pair(v.u, v.v);
    };
    EXPECT_EQ(at(0, 0), std::pair(0.25, 0.25));
    EXPECT_EQ(at(0, 1), std::pair(1.0, 1.0));
    EXPECT_EQ(at(0, 2), std::pair(2.0, 2.0));
    EXPECT_EQ(at(1, 0), std::pair(2.0, 2.0)); // the first vertex again, elsewhere on the image
}

TEST(Obj, TellsWhenAFaceHasNoTextureCoordinates) {
    TemporaryFolder folder;
    EXPECT_FALSE(LoadObj(folder.Write("m.obj", std::string(kThreeVertices) + "vt 0 0\n" +
                                                   "f 1/1 2/1 3/1\nf 1 2 3\n"))
                     .hasCoordinates);
}

TEST(Obj, TakesImagesOfMaterialsFromItsOwnFolder) {
    TemporaryFolder folder;
    folder.Write("paint.mtl", "newmtl a\nmap_Kd bricks.png\nnewmtl plain\nKd 0 0 1\n"
                              "newmtl b\nmap_Kd wood.png\nnewmtl c\nmap_Kd bricks.png\n");
    const Mesh mesh = LoadObj(
        folder.Write("m.obj", std::string("mtllib paint.mtl\n") + kThreeVertices +
                                  "usemtl a\nf 1 2 3\nusemtl plain\nf 1 2 3\nusemtl b\nf 1 2 3\n"
                                  "usemtl c\nf 1 2 3\n"));
    EXPECT_EQ(mesh.images, (std::vector<std::string>{folder / "bricks.png", folder / "wood.png"}));
    EXPECT_EQ(mesh.imageOf, (std::vector<int>{0, -1, 1, 0}));
}

TEST(Obj, TakesVertexColours) {
    TemporaryFolder folder;
    const Mesh mesh = LoadObj(
        folder.Write("m.obj", "v 0 0 0 1 0 0\nv 1 0 0 0 0.5 0\nv 0 1 0 0 0 0.25\nf 1 2 3\n"));
    EXPECT_EQ(mesh.vertices[0].colour, (Vec3{1, 0, 0}));
    EXPECT_EQ(mesh.vertices[1].colour, (Vec3{0, 0.5, 0}));
    EXPECT_EQ(mesh.vertices[2].colour, (Vec3{0, 0, 0.25}));
}

TEST(Obj, ModelWithoutColoursGetsOneThatShows) {
    TemporaryFolder folder;
    for (const char* text : {"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n",
                             "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\n"}) {
        for (const Vertex& v : LoadObj(folder.Write("m.obj", text)).vertices) {
            EXPECT_GT(Dot(v.colour, {1, 1, 1}), 1.5);
        }
    }
}

TEST(Obj, WrittenModelReadsBackTheSame) {
    TemporaryFolder folder;
    for (const Shape& shape : NamedShapes()) {
        SCOPED_TRACE(shape.name);
        const Mesh made = shape.make();
        std::ostringstream text;
        WriteObj(text, made, "title");
        EXPECT_EQ(text.str().substr(0, 8), "# title\n");
        EXPECT_EQ(text.str().find("-0.00000"), std::string::npos);
        const Mesh read = LoadObj(folder.Write("model.obj", text.str()));
        ASSERT_EQ(read.triangles.size(), made.triangles.size());
        EXPECT_TRUE(read.hasCoordinates);
        for (size_t i = 0; i < made.triangles.size(); ++i) {
            for (int corner = 0; corner < 3; ++corner) {
                const Vertex& a = made.vertices[made.triangles[i][corner]];
                const Vertex& b = read.vertices[read.triangles[i][corner]];
                EXPECT_LT(Length(a.position - b.position), 2e-5);
                EXPECT_LT(Length(a.normal - b.normal), 2e-4);
                EXPECT_NEAR(a.u, b.u, 2e-5);
                EXPECT_NEAR(a.v, b.v, 2e-5);
            }
        }
    }
}

TEST(Obj, ShippedModelsAreWhatTheToolWrites) {
    for (const Shape& shape : NamedShapes()) {
        const std::string path = (ScenesFolder() / (std::string(shape.name) + ".obj")).string();
        EXPECT_EQ(LoadObj(path).triangles.size(), shape.make().triangles.size()) << path;
    }
}

TEST(Obj, MissingFileIsAUserError) {
    TemporaryFolder folder;
    try {
        LoadObj(folder / "none.obj");
        FAIL();
    } catch (const UserError& error) {
        EXPECT_EQ(std::string(error.what()),
                  "cannot read '" + (folder / "none.obj") + "': No such file or directory");
    }
}

} // namespace
} // namespace korv
