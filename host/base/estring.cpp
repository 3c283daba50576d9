#include "base/estring.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

eString &eString::sprintf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    const int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length < 0) {
        clear();
    } else {
        // Format into a buffer one byte larger for the terminator, then drop it.
        std::string formatted(static_cast<size_t>(length) + 1, '\0');
        std::vsnprintf(formatted.data(), formatted.size(), format, args);
        formatted.resize(static_cast<size_t>(length));
        assign(std::move(formatted));
    }
    va_end(args);
    return *this;
}

eString &eString::setNum(int val, int base)
{
    clear();
    if (base < 2 || base > 36)
        return *this;
    static constexpr char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    // Work on the magnitude as unsigned so that INT_MIN has a representation.
    const bool negative = val < 0;
    unsigned magnitude = negative ? 0u - static_cast<unsigned>(val) : static_cast<unsigned>(val);
    const auto radix = static_cast<unsigned>(base);
    do {
        push_back(digits[magnitude % radix]);
        magnitude /= radix;
    } while (magnitude != 0);
    if (negative)
        push_back('-');
    std::reverse(begin(), end());
    return *this;
}

char *eString::heapCopy() const
{
    return ::strdup(c_str());
}

int eString::heapCopyTo(char *&target) const
{
    char *copy = heapCopy();
    if (copy == nullptr)
        return -1;
    target = copy;
    return 0;
}
