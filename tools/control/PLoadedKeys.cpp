// SPDX-License-Identifier: MIT
#include "control/PLoadedKeys.h"

#include "control/LoadedLibraries.h"

#include <filesystem>

const PDeclarations& PLoadedKeys::declarations()
{
    const std::vector<LoadedLibrary> libraries = loadedLibraries();
    Places places;
    for (const LoadedLibrary& library : libraries)
    {
        places.emplace_back(library.path, library.address);
    }
    if (places != fPlaces)
    {
        PDeclarations declarations;
        for (const LoadedLibrary& library : libraries)
        {
            declarations.add(std::filesystem::path(library.path).filename(),
                             PPluginNotes::ofSegments(library.notes));
        }
        fDeclarations = declarations;
        fPlaces = places;
    }
    return fDeclarations;
}

PJsonObject PLoadedKeys::json(const DeclaredKey& iKey)
{
    PJsonObject json;
    json.text("key", iKey.name).text("type", nameOfType(iKey.type));
    json.text("default", iKey.byDefault);
    if (isNumber(iKey.type))
    {
        json.text("low", iKey.low).text("high", iKey.high).text("unit", iKey.unit);
    }
    if (iKey.type == DeclaredKey::eChoice)
    {
        json.texts("choices", iKey.choices);
    }
    json.text("change", iKey.changes ? "run-time" : "start");
    return json.text("description", iKey.description).text("summary", summaryOf(iKey));
}
