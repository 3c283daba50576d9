#ifndef TARNWAVE_MODEL_LISTENTRY_H
#define TARNWAVE_MODEL_LISTENTRY_H

#include "base/estring.h"

// One directory entry, a genre (a folder whose stations are fetched when it is
// chosen) or a station (something that can be played). Every row of the four
// lists shows one. Records are held by std::shared_ptr: a favourite added from
// another list shows the same record in two rows, and it lives as long as either.
struct Listentry
{
    // The kinds of entry, in `type`.
    static constexpr int ENTRY_STATION = 0;
    static constexpr int ENTRY_GENRE = 1;

    // The sort modes, in `setSort`.
    static constexpr int SORT_INDEX = 10; // "index": by index, ascending
    static constexpr int SORT_BITRATE = 11; // "bitrate": by bitrate text, descending; ties by index
    static constexpr int SORT_NAME = 12; // "name": by name text, ascending; no tie-break

    eString url; // the entry's own stream or playlist address (favourites only)
    eString name; // display name
    eString tuneinBase; // tune-in path of the station list the station came from
    int type; // ENTRY_GENRE or ENTRY_STATION
    int index; // 1-based running number within the answer it came from
    eString bitrate; // the "br" attribute as written, never converted to a number
    eString genre; // a station's genre text
    eString id; // the station's identifier at the directory

    // Every text empty but the name, type ENTRY_GENRE.
    Listentry(int index, const char *name);

    // The one sort mode of all lists, shared by every list; starts at SORT_INDEX
    // and is not saved.
    static int setSort;
};

// The order of the lists: true when `a` is shown before `b` under the current
// sort mode (Listentry::setSort):
//  - SORT_BITRATE: the bitrate texts compared byte-wise, the greater first;
//    equal texts fall through to the index order;
//  - SORT_NAME: the names compared byte-wise, the smaller first; equal names
//    are not ordered;
//  - any other mode: the smaller index first.
// The comparisons are deliberately textual: "96" sorts above "320", capitals
// before small letters, and an empty bitrate last.
bool listentryComesBefore(const Listentry &a, const Listentry &b);

#endif
