// SPDX-License-Identifier: MIT
// A plugin whose note the tests replace in a copy of the library; see noted.py. It offers the
// interfaces of the lines "really", otherwise those of the lines "offers".

#include "IPlugin.h"
#include "Ixla.h"
#include "helpers/PluginNote.h"
#include "helpers/Text.h"
#include "support/Counted.h"

#include <memory>
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

std::vector<std::string> _valuesOf(const std::string& iField)
{
    std::istringstream lines(std::string(sText, kSize));
    std::vector<std::string> values;
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream parts(line);
        std::string name;
        std::string value;
        if (std::getline(parts, name, '\t') && std::getline(parts, value, '\t') && name == iField)
        {
            values.push_back(value);
        }
    }
    return values;
}

class NotedPlugin final : public Counted<IPlugin>
{
public:
    int init() override
    {
        return eIxlaOk;
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        const std::vector<std::string> really = _valuesOf("really");
        const std::vector<std::string> texts = really.empty() ? _valuesOf("offers") : really;
        oCount = static_cast<unsigned int>(texts.size());
        if (texts.empty())
        {
            return nullptr;
        }
        std::unique_ptr<PString[]> ids(new PString[texts.size()]);
        for (std::size_t i = 0; i < texts.size(); ++i)
        {
            ids[i] = ixlaWide(texts[i]);
        }
        return ids.release();
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = this;
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new NotedPlugin;
}
