#include "model/listentry.h"

int Listentry::setSort = Listentry::SORT_INDEX;

Listentry::Listentry(int index_, const char *name_)
    : name(name_ != nullptr ? name_ : ""), type(ENTRY_GENRE), index(index_)
{
}

bool listentryComesBefore(const Listentry &a, const Listentry &b)
{
    // eString compares as std::string does: the common prefix byte by byte as
    // unsigned values, then the shorter text is the smaller.
    switch (Listentry::setSort) {
    case Listentry::SORT_BITRATE:
        // One comparison decides both the order and the tie.
        if (const int order = a.bitrate.compare(b.bitrate); order != 0)
            return order > 0;
        break; // equal bitrates: by index
    case Listentry::SORT_NAME: return a.name < b.name;
    default: break;
    }
    return a.index < b.index;
}
