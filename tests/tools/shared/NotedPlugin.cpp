// SPDX-License-Identifier: MIT
// A plugin whose note the tests replace in a copy of the library; see noted.py. It offers the
// interfaces of the lines "really", otherwise those of the lines "offers".

#include "IPlugin.h"
#include "Ixla.h"
#include "helpers/PluginNote.h"
#include "helpers/Text.h"
#include "support/PluginService.h"

#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr std::size_t kSize = 2048;

__attribute__((IXLA_NOTE_ATTRIBUTES)) const IxlaNote<kSize> sNote = {
    kIxlaNoteOwnerSize, kSize, eIxlaNoteInfo, "ixlal", "1\nname\treplaced by noted.py\n"};

// Volatile: the compiler does not know the text of a copy.
const char* volatile sText = sNote.text;

std::vector<PString> _valuesOf(const std::string& iField)
{
    std::istringstream lines(std::string(sText, kSize));
    std::vector<PString> values;
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream parts(line);
        std::string name;
        std::string value;
        if (std::getline(parts, name, '\t') && std::getline(parts, value, '\t') && name == iField)
        {
            values.push_back(ixlaWide(value));
        }
    }
    return values;
}
} // namespace

IPlugin* ixlaGetPlugin()
{
    const std::vector<PString> really = _valuesOf("really");
    return new PluginService(really.empty() ? _valuesOf("offers") : really);
}
