// SPDX-License-Identifier: MIT
// notes_dump FILE...: prints the notes of each library as one line of JSON.
#include "shared/PPluginInfo.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace
{
nlohmann::json _noteOf(const PluginNote& iNote)
{
    nlohmann::json fields = nlohmann::json::array();
    for (const NoteField& field : iNote.fields)
    {
        fields.push_back({field.name, field.values});
    }
    return {iNote.type, fields};
}

nlohmann::json _infoOf(const PPluginNotes& iNotes)
{
    std::vector<std::string> damage;
    const std::optional<PPluginInfo> info = PPluginInfo::of(iNotes, damage);
    if (!info)
    {
        return nullptr;
    }
    nlohmann::json shown = {{"offered", info->offered()},
                            {"required", info->required()},
                            {"optional", info->optional()},
                            {"damage", damage},
                            {"works", {info->worksWith("3.3.32"), info->worksWith("3.4.0")}}};
    for (const char* const field :
         {"name", "version", "description", "author", "license", "url", "core"})
    {
        shown[field] = info->text(field);
    }
    return shown;
}
} // namespace

int main(int iCount, char** iArguments)
{
    for (int i = 1; i < iCount; ++i)
    {
        const PPluginNotes notes = PPluginNotes::ofFile(iArguments[i]);
        nlohmann::json shown = nlohmann::json::array();
        for (const PluginNote& note : notes.notes())
        {
            shown.push_back(_noteOf(note));
        }
        std::cout << nlohmann::json({{"fault", notes.fault()},
                                     {"notes", shown},
                                     {"damage", notes.damage()},
                                     {"newer", notes.hasNewer()},
                                     {"info", _infoOf(notes)}})
                  << '\n';
    }
    return std::cout.flush() ? 0 : 1;
}
