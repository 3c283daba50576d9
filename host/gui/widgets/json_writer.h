#ifndef TARNWAVE_HOST_GUI_JSON_WRITER_H
#define TARNWAVE_HOST_GUI_JSON_WRITER_H

// A small streaming JSON writer for the widget descriptions. Strings are
// written as valid JSON whatever bytes they hold: control characters are
// escaped and bytes that are not valid UTF-8 become U+FFFD.

#include <string>
#include <string_view>
#include <vector>

class JsonWriter
{
public:
    JsonWriter &beginObject();
    JsonWriter &endObject();
    JsonWriter &beginArray();
    JsonWriter &endArray();
    // The key of the next value inside an object.
    JsonWriter &key(std::string_view name);
    JsonWriter &value(std::string_view text);
    JsonWriter &value(const char *text) { return value(std::string_view(text ? text : "")); }
    JsonWriter &value(const std::string &text) { return value(std::string_view(text)); }
    JsonWriter &value(long long number);
    JsonWriter &value(int number) { return value(static_cast<long long>(number)); }
    JsonWriter &value(bool flag);
    JsonWriter &null();

    const std::string &str() const { return m_out; }

private:
    void separate();
    void writeString(std::string_view text);

    std::string m_out;
    std::vector<bool> m_hasItems; // per open object/array
    bool m_afterKey = false;
};

#endif
