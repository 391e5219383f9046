#include "show/sfp_idprom.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <safe_mem_lib.h>

namespace {

using Text = char[sfp_text_size];
using Render = void (*)(const std::uint8_t *field, std::size_t length, Text &text);

constexpr const char *identifiers[] = {
    "Unknown",
    "GBIC",
    "module/connector soldered to motherboard",
    "SFP/SFP+ transceiver",
};

constexpr const char *connectors[] = {
    "Unknown",
    "SC",
    "Fibre Channel Style 1 copper connector",
    "Fibre Channel Style 2 copper connector",
    "BNC/TNC",
    "Fibre Channel coaxial headers",
    "FiberJack",
    "LC",
    "MT-RJ",
    "MU",
    "SG",
    "Optical pigtail",
};
constexpr const char *copper_connectors[] = {"HSSDC II", "Copper Pigtail"}; // from 32 on

// One per bit of the code byte.
constexpr const char *compliances[] = {
    "40G Active Cable (XLPPI)",
    "40G Base-LR4",
    "40G Base-SR4",
    "40G Base-CR4",
    "10G BASE-SR",
    "10G BASE-LR",
    "10G BASE-LRM",
    "10G BASE-ER",
};

constexpr const char *encodings[] = {"not specified", "8B10B", "", "", "", "", "64B66B"};

void put_text(Text &text, const char *content)
{
    snprintf(text, sizeof text, "%s", content);
}

void identifier_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    if (*field < std::size(identifiers)) return put_text(text, identifiers[*field]);
    put_text(text, *field < 128 ? "reserved" : "None");
}

void connector_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    if (*field < std::size(connectors)) return put_text(text, connectors[*field]);
    if (*field < 32) return put_text(text, "reserved");
    put_text(text, *field <= 33 ? copper_connectors[*field - 32] : "Uknown"); // readers know it in this spelling
}

// A module that names several standards is "Unknown".
void compliance_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    put_text(text, "Unknown");
    for (std::size_t bit = 0; bit < std::size(compliances); ++bit) {
        if (*field == 1U << bit) put_text(text, compliances[bit]);
    }
}

void encoding_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    put_text(text, *field < std::size(encodings) ? encodings[*field] : "reserved");
}

void bit_rate_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    snprintf(text, sizeof text, "%d Mbits/s", *field * 100);
}

void field_text(const std::uint8_t *field, std::size_t length, Text &text)
{
    if (field[0] == 0) return put_text(text, "Unknown");
    memcpy_s(text, sizeof text, field, length);
    text[length] = '\0';
}

void oui_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    snprintf(text, sizeof text, "%x.%x.%x", field[0], field[1], field[2]);
}

// YYMMDD.
void date_text(const std::uint8_t *field, std::size_t /*length*/, Text &text)
{
    if (field[0] == 0) return put_text(text, "Unknown");
    snprintf(text, sizeof text, "%c%c/%c%c/%c%c", field[0], field[1], field[2], field[3], field[4], field[5]);
}

void unspecified_text(const std::uint8_t * /*field*/, std::size_t /*length*/, Text &text)
{
    put_text(text, "not specified");
}

struct Leaf {
    std::uint32_t tag;
    std::size_t position; // in the image
    std::size_t length;
    Render render;
};

constexpr std::size_t a2 = sfp_a0_kept; // where A2h begins in the image

constexpr Leaf leaves[] = {
    {202559156,  0,        1,  identifier_text }, //
    {1679844964, 2,        1,  connector_text  },
    {820311737,  3,        1,  compliance_text },
    {180862443,  11,       1,  encoding_text   },
    {335199302,  12,       1,  bit_rate_text   },
    {465193425,  20,       16, field_text      }, // vendor name
    {728439639,  37,       3,  oui_text        },
    {447779376,  56,       4,  field_text      }, // revision
    {294542203,  68,       16, field_text      }, // serial number
    {850404072,  84,       6,  date_text       },
    {2023329977, a2 + 128, 10, field_text      },
    {300239297,  a2 + 138, 10, field_text      },
    {397036642,  a2 + 192, 20, field_text      },
    {188569195,  0,        0,  unspecified_text}, // wavelength
    {1702651198, 0,        0,  unspecified_text}, // link length
};
static_assert(std::all_of(std::begin(leaves), std::end(leaves), [](const Leaf &leaf) {
    return leaf.position + leaf.length <= sfp_a0_kept + sfp_page_size && leaf.length < sfp_text_size;
}));

} // namespace

bool sfp_idprom_text(const std::uint8_t (&image)[sfp_info_size], std::uint32_t tag, char (&text)[sfp_text_size])
{
    for (const Leaf &leaf : leaves) {
        if (leaf.tag != tag) continue;
        leaf.render(image + leaf.position, leaf.length, text);
        return true;
    }
    return false;
}
