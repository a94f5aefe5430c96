// Direct3D contexts, scenes and texture handles.
#include "host/driver_module.h"
#include "tools/korv/replay/step.h"

#include <fmt/format.h>

namespace korv {

namespace {

StepPlan Resultful(std::function<HRESULT(Player&)> call) {
    return {[call = std::move(call)](Player& player, Outcome& outcome) {
                outcome.Set("result", call(player));
            },
            Only({{"result", FieldKind::Result}}), true};
}

StepPlan ReadContext(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const std::string target = names.Refer(NameKind::Surface, fields["target"]);
    std::string zBuffer;
    if (const auto node = fields.Find("zBuffer")) {
        zBuffer = names.Refer(NameKind::Surface, *node);
    }
    const uint32_t process = fields.Has("process") ? fields["process"].Number(0, ~0u) : 1;
    const std::string name = names.Declare(NameKind::Context, fields["name"]);
    return {[=](Player& player, Outcome& outcome) {
                host::DirectDraw& directDraw = player.DirectDraw(display);
                host::Surface& to = player.SurfaceOn(display, target);
                host::Surface* depth =
                    zBuffer.empty() ? nullptr : &player.SurfaceOn(display, zBuffer);
                try {
                    auto device = std::make_unique<host::Device3D>(directDraw, to, depth, process);
                    outcome.Set("handle", device->Handle());
                    outcome.Set("result", DD_OK);
                    player.AddContext(name, {display, target, zBuffer, process, std::move(device)});
                } catch (const host::ResultError& error) {
                    outcome.Set("result", error.Result());
                }
            },
            Only({{"result", FieldKind::Result}, {"handle", FieldKind::Word}}), true};
}

// As many contexts as told, without names: they live to the end or until their process dies.
StepPlan ReadContexts(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const std::string target = names.Refer(NameKind::Surface, fields["target"]);
    const uint32_t process = fields["process"].Number(0, ~0u);
    const uint32_t count = fields["count"].Number(1, 1000);
    return {[=](Player& player, Outcome& outcome) {
                const auto create = player.Driver(display)->D3DCallbacks->ContextCreate;
                uint32_t created = 0;
                HRESULT result = DD_OK;
                while (created < count && result == DD_OK) {
                    D3DHAL_CONTEXTCREATEDATA data{};
                    data.lpDDGbl = player.DirectDraw(display).Global();
                    data.lpDDS = player.SurfaceOn(display, target).Interface();
                    data.dwPID = process;
                    {
                        const host::DriverCall call;
                        create(&data);
                    }
                    result = data.ddrval;
                    created += result == DD_OK;
                }
                outcome.Set("created", created);
                outcome.Set("result", result);
            },
            Only({{"created", FieldKind::Word}, {"result", FieldKind::Result}}), true};
}

StepPlan ReadDestroyContext(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Context, fields["context"]);
    return Resultful([=](Player& player) {
        const HRESULT result = player.Device(name).Destroy();
        player.contexts.at(name).live = false;
        return result;
    });
}

StepPlan ReadDestroyProcess(Fields& fields, Names& names) {
    const std::string display = names.DisplayOf(fields);
    const uint32_t process = fields["process"].Number(0, ~0u);
    return Resultful([=](Player& player) {
        for (auto& [name, one] : player.contexts) {
            if (one.display == display && one.process == process) {
                one.live = false;
            }
        }
        return host::Device3D::DestroyAll(player.DirectDraw(display), process);
    });
}

StepPlan ReadBeginScene(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Context, fields["context"]);
    return Resultful([=](Player& player) { return player.Device(name).BeginScene(); });
}

StepPlan ReadEndScene(Fields& fields, Names& names) {
    const std::string name = names.Refer(NameKind::Context, fields["context"]);
    return Resultful([=](Player& player) { return player.Device(name).EndScene(); });
}

StepPlan ReadTexture(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const std::string surface = names.Refer(NameKind::Surface, fields["surface"]);
    const std::string name = names.Declare(NameKind::Texture, fields["name"]);
    return {[=](Player& player, Outcome& outcome) {
                host::Device3D& device = player.Device(context);
                host::Surface& texels =
                    player.SurfaceOn(player.contexts.at(context).display, surface);
                try {
                    const uint32_t handle = device.CreateTexture(texels);
                    player.textures[name] = handle;
                    outcome.Set("handle", handle);
                    outcome.Set("result", DD_OK);
                } catch (const host::ResultError& error) {
                    outcome.Set("result", error.Result());
                }
            },
            Only({{"result", FieldKind::Result}, {"handle", FieldKind::Word}}), true};
}

StepPlan ReadDestroyTexture(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const std::string name = names.Refer(NameKind::Texture, fields["texture"]);
    return Resultful([=](Player& player) {
        return player.Device(context).DestroyTexture(player.Texture(name));
    });
}

StepPlan ReadSwapTextures(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const std::string first = names.Refer(NameKind::Texture, fields["texture"]);
    const std::string second = names.Refer(NameKind::Texture, fields["with"]);
    return Resultful([=](Player& player) {
        return player.Device(context).SwapTextures(player.Texture(first), player.Texture(second));
    });
}

StepPlan ReadTextureSurface(Fields& fields, Names& names) {
    const std::string context = names.Refer(NameKind::Context, fields["context"]);
    const Bits texture = ReadBits(fields["texture"], FieldKind::Texture, names);
    return {[=](Player& player, Outcome& outcome) {
                HRESULT result = DD_OK;
                const auto* surface =
                    player.Device(context).TextureSurface(texture(player), &result);
                outcome.Set("result", result);
                outcome.Set("surface", reinterpret_cast<uintptr_t>(surface));
            },
            Only({{"result", FieldKind::Result}, {"surface", FieldKind::SurfaceLocal}}), true};
}

constexpr StepKind kContextSteps[] = {
    {"context", ReadContext},
    {"contexts", ReadContexts},
    {"destroyContext", ReadDestroyContext},
    {"destroyProcess", ReadDestroyProcess},
    {"beginScene", ReadBeginScene},
    {"endScene", ReadEndScene},
    {"texture", ReadTexture},
    {"destroyTexture", ReadDestroyTexture},
    {"swapTextures", ReadSwapTextures},
    {"textureSurface", ReadTextureSurface},
};

} // namespace

std::span<const StepKind> ContextSteps() {
    return kContextSteps;
}

} // namespace korv
