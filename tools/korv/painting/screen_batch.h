#pragma once
// Triangles given in screen coordinates.
#include "tools/korv/painting/pipeline.h"

namespace korv {

class ScreenBatch {
  public:
    // Adds a vertex at (x, y) pixels and depth `z` from 0 near to 1 far, with texture coordinates
    // (u, v); its index.
    WORD Add(double x, double y, double z, D3DCOLOR colour, double u = 0, double v = 0);
    void Triangle(WORD a, WORD b, WORD c);
    // A rectangle in one colour.
    void Rectangle(double left, double top, double right, double bottom, D3DCOLOR colour,
                   double z = 0.5);
    // The same with texture coordinates from (u0, v0) at its upper left to (u1, v1).
    void Tile(double left, double top, double right, double bottom, double u0, double v0, double u1,
              double v1, D3DCOLOR colour = 0xFFFFFFFF);
    // Draws what was added and starts anew.
    void Draw(Painter& painter);

  private:
    Batch batch_;
};

} // namespace korv
