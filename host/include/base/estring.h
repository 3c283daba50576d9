#ifndef TARNWAVE_HOST_BASE_ESTRING_H
#define TARNWAVE_HOST_BASE_ESTRING_H

#include <string>

// The toolkit's string: a std::string of bytes (texts are UTF-8 by convention),
// compared byte by byte as unsigned values, with the two formatting helpers
// that plug-ins use.
class eString : public std::string
{
public:
    using std::string::string;
    eString() = default;
    eString(const std::string &text) : std::string(text) { }
    eString(std::string &&text) noexcept : std::string(std::move(text)) { }

    // Replaces the contents with the printf-style formatted text; returns *this.
    eString &sprintf(const char *format, ...) __attribute__((format(printf, 2, 3)));

    // Replaces the contents with val written in the given base (2 to 36, lower-case
    // digits, a leading '-' for negative values); returns *this. Other bases give "".
    eString &setNum(int val, int base = 10);

    // A copy made with malloc, for C callers that release it with free();
    // null when memory is exhausted.
    char *heapCopy() const;
    // Points `target` at a heapCopy and returns 0; on exhausted memory returns
    // -1 and leaves `target` as it was.
    int heapCopyTo(char *&target) const;
};

#endif
