// SPDX-License-Identifier: MIT
// PJsonObject: composes the text of a JSON object.
#ifndef IXLAL_TOOLS_PJSONOBJECT_H
#define IXLAL_TOOLS_PJSONOBJECT_H

#include <string>
#include <string_view>
#include <vector>

/// Members appear in the order in which they are added. Texts are UTF-8; each byte that is not
/// valid UTF-8 becomes U+FFFD. The result has no line break.
class PJsonObject
{
public:
    PJsonObject& text(std::string_view iName, std::string_view iValue);
    PJsonObject& number(std::string_view iName, long long iValue);
    PJsonObject& flag(std::string_view iName, bool iValue);
    PJsonObject& null(std::string_view iName);
    PJsonObject& object(std::string_view iName, const PJsonObject& iValue);
    PJsonObject& list(std::string_view iName, const std::vector<PJsonObject>& iValues);
    PJsonObject& texts(std::string_view iName, const std::vector<std::string>& iValues);

    /// The object.
    std::string str() const;

private:
    void begin(std::string_view iName);

    std::string fBody;
};

#endif
