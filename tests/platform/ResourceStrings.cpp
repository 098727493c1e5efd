#include "platform/Export.h"
#include "platform/Messages.h"

extern "C" PLATFORM_API const platform::ResourceString zephorResourceStrings[] = {
    {101, "Übertragung läuft"},
    {202, ""},
    {303, "€\xF0\x9F\x98\x80x"},
    {0, nullptr},
};
