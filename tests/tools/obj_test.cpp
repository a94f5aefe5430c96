#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/model/obj.h"
#include "tools/korv/model/shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace korv {
namespace {

ObjModel Parsed(const std::string& text, Up up = Up::Z) {
    return ParseObj(text, ".", {up, {}});
}

// What is said of a text, empty if it is taken.
std::string Wrong(const std::string& text) {
    try {
        Parsed(text);
        return "";
    } catch (const UserError& error) {
        return error.what();
    }
}

// Twice the area of each triangle along z, seen from above.
std::vector<double> Turns(const Mesh& mesh) {
    std::vector<double> turns;
    for (const auto& [a, b, c] : mesh.triangles) {
        const Vec3& first = mesh.vertices[a].position;
        turns.push_back(
            Cross(mesh.vertices[b].position - first, mesh.vertices[c].position - first).z);
    }
    return turns;
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
        EXPECT_EQ(v.normal, (Vec3{0, -1, 0})); // the file's +z side, to which models look
    }
}

TEST(Obj, TheAxisThatPointsUpwardsIsYUnlessToldOtherwise) {
    const std::string text = "v 1 2 3\nv 4 5 6\nv 7 8 10\nvn 0 1 0\nf 1//1 2//1 3//1\n";
    const Mesh y = Parsed(text, Up::Y).mesh, z = Parsed(text, Up::Z).mesh;
    EXPECT_EQ(y.vertices[0].position, (Vec3{1, -3, 2}));
    EXPECT_EQ(y.vertices[0].normal, (Vec3{0, 0, 1}));
    EXPECT_EQ(z.vertices[0].position, (Vec3{1, 2, 3}));
    EXPECT_EQ(z.vertices[0].normal, (Vec3{0, 1, 0}));
    // A turn, not a mirror image: the triangle keeps its side.
    const double half = std::sqrt(0.5);
    EXPECT_LT(Length(FaceNormal(z, z.triangles[0]) - Vec3{half, -half, 0}), 1e-9);
    EXPECT_LT(Length(FaceNormal(y, y.triangles[0]) - Vec3{half, 0, -half}), 1e-9);
}

TEST(Obj, AByteOrderMarkIsPassedOver) {
    EXPECT_EQ(Parsed("\xEF\xBB\xBFv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n").mesh.vertices.size(), 3u);
}

TEST(Obj, LinesGoOnBehindABackslash) {
    const Mesh mesh = Parsed("v 0 \\\n0 0\nv 1 0 0\r\nv 1 1\\\r\n 0\r\nf 1 \\\n 2 \\\n3\n").mesh;
    ASSERT_EQ(mesh.triangles.size(), 1u);
    EXPECT_EQ(mesh.vertices[2].position, (Vec3{1, 1, 0}));
    EXPECT_EQ(Wrong("v 0 0 \\\n0\nv 1 \\\n\\\nx 0\n"), "3: 'x' after 'v', expected a number");
    EXPECT_EQ(Wrong("v 0 0 0\\"), "1: no face ('f') in the file");
}

TEST(Obj, CountsFromTheLatestWhereAskedTo) {
    const Mesh mesh = Parsed("v 9 9 9\nv 0 0 0\nvt 0 0\nv 1 0 0\nvt 1 0\nv 0 1 0\nvt 0 1\n"
                             "f -3/-3 -2/-2 -1/-1\nv 5 5 5\nf -1/-1 2/1 -2/3\n")
                          .mesh;
    ASSERT_EQ(mesh.triangles.size(), 2u);
    EXPECT_EQ(mesh.vertices[mesh.triangles[0][0]].position, (Vec3{0, 0, 0}));
    EXPECT_EQ(mesh.vertices[mesh.triangles[0][2]].v, 0);
    EXPECT_EQ(mesh.vertices[mesh.triangles[1][0]].position, (Vec3{5, 5, 5}));
    EXPECT_EQ(mesh.vertices[mesh.triangles[1][2]].position, (Vec3{0, 1, 0}));
}

TEST(Obj, ConcavePolygonsAreSplitInsideThemselves) {
    // An arrow head whose dent is its third corner, from each corner on; an L; a comb.
    const std::vector<std::pair<std::vector<std::pair<int, int>>, double>> polygons{
        {{{0, 0}, {4, 0}, {1, 1}, {0, 4}}, 8},
        {{{4, 0}, {1, 1}, {0, 4}, {0, 0}}, 8},
        {{{1, 1}, {0, 4}, {0, 0}, {4, 0}}, 8},
        {{{0, 0}, {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}}, 6},
        {{{0, 0},
          {5, 0},
          {5, 3},
          {4, 3},
          {4, 1},
          {3, 1},
          {3, 3},
          {2, 3},
          {2, 1},
          {1, 1},
          {1, 3},
          {0, 3}},
         22}};
    for (const auto& [corners, doubleArea] : polygons) {
        for (const bool reversed : {false, true}) {
            std::string text, face = "f";
            for (size_t i = 0; i < corners.size(); ++i) {
                text += "v " + std::to_string(corners[i].first) + " " +
                        std::to_string(corners[i].second) + " 7\n";
                face += " " + std::to_string(reversed ? corners.size() - i : i + 1);
            }
            const auto turns = Turns(Parsed(text + face + "\n").mesh);
            EXPECT_EQ(turns.size(), corners.size() - 2);
            double sum = 0;
            for (const double turn : turns) {
                // None turned over: together they cover the polygon once.
                EXPECT_GE(reversed ? -turn : turn, 0) << face;
                sum += turn;
            }
            EXPECT_EQ(sum, reversed ? -doubleArea : doubleArea) << face;
        }
    }
}

TEST(Obj, PolygonsMayHaveAnyNumberOfCorners) {
    std::string text, face = "f";
    constexpr int kCorners = 300; // on a parabola: convex
    double doubleArea = 0;
    for (int i = 0; i < kCorners; ++i) {
        text += "v " + std::to_string(i) + " " + std::to_string(i * i) + " 0\n";
        face += " " + std::to_string(i + 1);
        const int next = (i + 1) % kCorners;
        doubleArea += static_cast<double>(i) * next * next - static_cast<double>(next) * i * i;
    }
    const auto turns = Turns(Parsed(text + face + "\n").mesh);
    EXPECT_EQ(turns.size(), kCorners - 2u);
    double sum = 0;
    for (const double turn : turns) {
        EXPECT_GT(turn, 0);
        sum += turn;
    }
    EXPECT_EQ(sum, doubleArea);
}

TEST(Obj, ShadesSmoothlyAcrossSeamsOfTheTexture) {
    // A roof of two squares; its ridge has two places on the image, in one file as one vertex, in
    // the other as two.
    for (const char* ridge : {"f 1/1 2/2 3/3 4/4\nf 4/1 3/2 5/3 6/4\n",
                              "v 0 1 1\nv 1 1 1\nf 1/1 2/2 3/3 4/4\nf 7/1 8/2 5/3 6/4\n"}) {
        const Mesh mesh =
            Parsed(std::string("v 0 0 0\nv 1 0 0\nv 1 1 1\nv 0 1 1\nv 1 2 0\nv 0 2 0\n"
                               "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n") +
                   ridge)
                .mesh;
        ASSERT_EQ(mesh.vertices.size(), 8u);
        int onRidge = 0;
        for (const Vertex& v : mesh.vertices) {
            if (v.position.z == 1) {
                ++onRidge;
                EXPECT_LT(Length(v.normal - Vec3{0, 0, 1}), 0.5) << v.normal.y;
                EXPECT_NEAR(v.normal.x, 0, 1e-9);
            } else {
                EXPECT_NEAR(std::abs(v.normal.y), std::sqrt(0.5), 1e-9);
            }
        }
        EXPECT_EQ(onRidge, 4);
        std::map<double, Vec3> normals; // by x
        for (const Vertex& v : mesh.vertices) {
            if (v.position.z == 1) {
                EXPECT_EQ(normals.try_emplace(v.position.x, v.normal).first->second, v.normal);
            }
        }
    }
}

TEST(Obj, AMissingMaterialFileIsAWarning) {
    TemporaryFolder folder;
    const std::string path = folder.Write("m.obj", std::string("mtllib none.mtl\nusemtl red\n") +
                                                       kThreeVertices + "f 1 2 3\n");
    const ObjModel model = ReadObjModel(path, {});
    EXPECT_EQ(model.mesh.triangles.size(), 1u);
    EXPECT_EQ(model.warnings, std::vector<std::string>{
                                  "cannot read '" + (folder / "none.mtl") +
                                  "': No such file or directory, drawing without its materials"});
}

TEST(Obj, MaterialFilesMayHaveBlanksInTheirNamesOrBeSeveral) {
    TemporaryFolder folder;
    folder.Write("two words.mtl", "newmtl a\nKd 1 0 0\n");
    folder.Write("b.mtl", "newmtl b\nKd 0 1 0\nmap_Kd images\\wood.png\n");
    folder.Write("c.mtl", "newmtl c\nKd 0 0 1\n");
    const ObjModel model = ReadObjModel(
        folder.Write("m.obj", std::string("mtllib two words.mtl\nmtllib b.mtl c.mtl\n") +
                                  kThreeVertices +
                                  "usemtl a\nf 1 2 3\nusemtl b\nf 1 2 3\nusemtl c\nf 1 2 3\n"),
        {});
    EXPECT_TRUE(model.warnings.empty());
    const auto colour = [&](int triangle) {
        return model.mesh.vertices[model.mesh.triangles[triangle][0]].colour;
    };
    EXPECT_EQ(colour(0), (Vec3{1, 0, 0}));
    EXPECT_EQ(colour(1), (Vec3{0, 1, 0}));
    EXPECT_EQ(colour(2), (Vec3{0, 0, 1}));
    EXPECT_EQ(model.mesh.images, std::vector<std::string>{folder / "images/wood.png"});
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
