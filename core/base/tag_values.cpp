#include "core/base/tag_values.h"

#include <cassert>

namespace {

confd_value_t of_type(confd_vtype type)
{
    confd_value_t value{};
    value.type = type;
    return value;
}

confd_value_t xml_element(confd_vtype type, std::uint32_t tag, std::uint32_t ns)
{
    confd_value_t value = of_type(type);
    value.val.xmltag = {tag, ns};
    return value;
}

} // namespace

confd_value_t text_value(const char *text)
{
    confd_value_t value = of_type(C_STR);
    value.val.s = text;
    return value;
}

confd_value_t int32_value(std::int32_t number)
{
    confd_value_t value = of_type(C_INT32);
    value.val.i32 = number;
    return value;
}

confd_value_t uint16_value(std::uint16_t number)
{
    confd_value_t value = of_type(C_UINT16);
    value.val.u16 = number;
    return value;
}

confd_value_t uint32_value(std::uint32_t number)
{
    confd_value_t value = of_type(C_UINT32);
    value.val.u32 = number;
    return value;
}

confd_value_t uint64_value(std::uint64_t number)
{
    confd_value_t value = of_type(C_UINT64);
    value.val.u64 = number;
    return value;
}

confd_value_t enum_value(std::int32_t number)
{
    confd_value_t value = of_type(C_ENUM_VALUE);
    value.val.enumvalue = number;
    return value;
}

confd_value_t ipv4_value(in_addr address)
{
    confd_value_t value = of_type(C_IPV4);
    value.val.ip = address;
    return value;
}

confd_value_t ipv6_value(const in6_addr &address)
{
    confd_value_t value = of_type(C_IPV6);
    value.val.ip6 = address;
    return value;
}

confd_value_t binary_value(const void *bytes, std::uint32_t size)
{
    confd_value_t value = of_type(C_BINARY);
    value.val.buf.ptr = static_cast<unsigned char *>(const_cast<void *>(bytes));
    value.val.buf.size = size;
    return value;
}

confd_value_t xml_begin(std::uint32_t tag, std::uint32_t ns)
{
    return xml_element(C_XMLBEGIN, tag, ns);
}

confd_value_t xml_end(std::uint32_t tag, std::uint32_t ns)
{
    return xml_element(C_XMLEND, tag, ns);
}

confd_tag_value_t tag_value(std::uint32_t tag, confd_value_t value)
{
    return {
        {tag, 0},
        value
    };
}

void put(TagArray &array, std::uint32_t tag, confd_value_t value)
{
    assert(array.count < tag_array_capacity);
    array.entries[array.count++] = tag_value(tag, value);
}
