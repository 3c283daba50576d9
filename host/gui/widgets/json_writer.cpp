#include "gui/widgets/json_writer.h"

#include "gui/drawing/utf8.h"

#include <cstdio>

void JsonWriter::separate()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_hasItems.empty()) {
        if (m_hasItems.back())
            m_out += ',';
        m_hasItems.back() = true;
    }
}

JsonWriter &JsonWriter::beginObject()
{
    separate();
    m_out += '{';
    m_hasItems.push_back(false);
    return *this;
}

JsonWriter &JsonWriter::endObject()
{
    m_out += '}';
    m_hasItems.pop_back();
    return *this;
}

JsonWriter &JsonWriter::beginArray()
{
    separate();
    m_out += '[';
    m_hasItems.push_back(false);
    return *this;
}

JsonWriter &JsonWriter::endArray()
{
    m_out += ']';
    m_hasItems.pop_back();
    return *this;
}

JsonWriter &JsonWriter::key(std::string_view name)
{
    separate();
    writeString(name);
    m_out += ':';
    m_afterKey = true;
    return *this;
}

JsonWriter &JsonWriter::value(std::string_view text)
{
    separate();
    writeString(text);
    return *this;
}

JsonWriter &JsonWriter::value(long long number)
{
    separate();
    m_out += std::to_string(number);
    return *this;
}

JsonWriter &JsonWriter::value(bool flag)
{
    separate();
    m_out += flag ? "true" : "false";
    return *this;
}

JsonWriter &JsonWriter::null()
{
    separate();
    m_out += "null";
    return *this;
}

void JsonWriter::writeString(std::string_view text)
{
    m_out += '"';
    const std::u32string codePoints = boxtext::decodeUtf8(text);
    for (char32_t c : codePoints) {
        switch (c) {
        case '"': m_out += "\\\""; break;
        case '\\': m_out += "\\\\"; break;
        case '\n': m_out += "\\n"; break;
        case '\r': m_out += "\\r"; break;
        case '\t': m_out += "\\t"; break;
        default:
            if (c < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                m_out += escaped;
            } else {
                boxtext::appendUtf8(m_out, c);
            }
        }
    }
    m_out += '"';
}
