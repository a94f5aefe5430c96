#pragma once
// What `korv render` can be told about textures.
#include "tools/korv/painting/painter.h"
#include "tools/korv/painting/texture_state.h"

#include <string>

namespace CLI {
class App;
}

namespace korv {

// As given; empty where nothing was.
struct TextureArguments {
    std::string image, filter, wrap, perspective, blend, colourKey, format;

    // UserError for a colour that is none.
    void Check() const;
    // Something was said about how to draw textures.
    bool SaysHow() const;
    // The states, without the texture itself.
    TextureState State() const;
    // The texture of the PNG at `path`. UserError for what is no colour, or no PNG.
    TextureRequest Request(const std::string& path) const;
};

void AddTextureArguments(CLI::App& command, TextureArguments& arguments);

// "RRGGBB", as D3DCOLOR. UserError for anything else.
D3DCOLOR ParseColour(const std::string& text);

} // namespace korv
