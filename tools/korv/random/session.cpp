#include "tools/korv/random/session.h"

#include "tools/korv/random/grammar.h"

namespace korv::random {

Steps MakeSession(uint64_t seed, size_t count, bool illegal) {
    return Grammar(seed, illegal).Make(count);
}

std::string ScriptText(const std::string& title, const Steps& steps) {
    std::string text =
        "{\n\"version\": 1,\n\"title\": " + nlohmann::json(title).dump() + ",\n\"steps\": [\n";
    for (size_t i = 0; i < steps.size(); ++i) {
        text += steps[i].dump() + (i + 1 < steps.size() ? ",\n" : "\n");
    }
    return text + "]\n}\n";
}

Steps Grammar::Make(size_t count) {
    static constexpr Rule kRules[] = {
        {10, &Grammar::MakeSurface},   {3, &Grammar::LoseSurface},   {6, &Grammar::WriteSurface},
        {3, &Grammar::LockSurface},    {5, &Grammar::LoadTexture},   {2, &Grammar::KeySurface},
        {8, &Grammar::Fill},           {16, &Grammar::Copy},         {4, &Grammar::Flip},
        {2, &Grammar::AskStatus},      {4, &Grammar::MakeContext},   {1, &Grammar::EndContext},
        {4, &Grammar::Scene},          {12, &Grammar::SetStates},    {8, &Grammar::MakeTexture},
        {6, &Grammar::UseTexture},     {3, &Grammar::EndTexture},    {16, &Grammar::Triangles},
        {4, &Grammar::KnownTriangles}, {8, &Grammar::KnownTextured}, {5, &Grammar::Lines},
        {3, &Grammar::Points},         {3, &Grammar::Execute},       {2, &Grammar::ClientBatch},
        {2, &Grammar::ClientMemory},   {1, &Grammar::ClientLock},    {2, &Grammar::ClientContext},
        {1, &Grammar::ClientCopy},     {1, &Grammar::ClientLooks},   {1, &Grammar::ChangeMode},
        {2, &Grammar::PassTime},       {1, &Grammar::AskBeam},       {1, &Grammar::AskDriver},
    };
    uint32_t sum = 0;
    for (const Rule& rule : kRules) {
        sum += rule.weight;
    }
    const uint32_t displays = dice_.Chance(15) ? 2 : 1;
    while (displays_.size() < displays) {
        AddDisplay(displays);
    }
    while (steps_.size() < count) {
        if (illegal_ && dice_.Chance(25) && Break()) {
            continue;
        }
        if (displays_[0].video && dice_.Chance(30)) {
            Video();
            continue;
        }
        uint32_t place = dice_.From(0, sum - 1);
        for (const Rule& rule : kRules) {
            if (place < rule.weight) {
                (this->*rule.apply)();
                break;
            }
            place -= rule.weight;
        }
    }
    End();
    return std::move(steps_);
}

} // namespace korv::random
