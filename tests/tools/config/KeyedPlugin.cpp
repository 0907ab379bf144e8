// SPDX-License-Identifier: MIT
// A plugin that declares keys of all types, and reads the values of one ID.

#include "helpers/PKeyedConfig.h"
#include "helpers/PPlugin.h"

namespace
{
IXLA_CONFIG(NetConfig, "com.example.net",
            IXLA_KEY_UINT32(port, "port", 8080, 1, 65535, "", "start", "TCP port of the server"),
            IXLA_KEY_INT32(delay, "delay", 100, -1, 60000, "ms", "run-time",
                           "pause between two attempts"),
            IXLA_KEY_INT64(total, "total", 0, -9223372036854775808, 9223372036854775807, "bytes",
                           "run-time", "bytes so far"),
            IXLA_KEY_UINT64(mask, "mask", 1, 0, 18446744073709551615, "", "run-time", "channels"),
            IXLA_KEY_BOOL(active, "active", true, "run-time", "whether it listens"),
            IXLA_KEY_TEXT(host, "host", "localhost", "start", "name of the server: gr\u00fc\u00df"),
            IXLA_KEY_CHOICE(order, "order", "oldest", "oldest|newest", "run-time",
                            "which job is done first"),
            IXLA_KEY_BYTES(magic, "magic", "00ff", "start", "first bytes of a packet"))

IXLA_CONFIG(UiConfig, "com.example.ui",
            IXLA_KEY_TEXT(colour, "colour", "", "run-time", "colour of the frame"))

class Net : public PService<IBase>
{
public:
    int onInit() override
    {
        const int result = fConfig.load();
        return result == eIxlaOk ? fUi.load() : result;
    }

private:
    NetConfig fConfig;
    UiConfig fUi;
};

class KeyedPlugin : public PPlugin
{
public:
    KeyedPlugin()
    {
        offer<Net>(L"com.example.net");
    }
};
} // namespace

IXLA_PLUGIN(KeyedPlugin)
