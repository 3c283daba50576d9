#ifndef TARNWAVE_FAVOURITES_FAVOURITES_FILE_H
#define TARNWAVE_FAVOURITES_FAVOURITES_FILE_H

// The favourites file: the user's genres and stations in the element form of
// the directory's genre list, so that the directory parser reads it as it is.
//
//   <?xml version="1.0" encoding="UTF-8" standalone="yes"?>
//
//   <genrelist>
//   	<genre name="Jazz &amp; Blues" ></genre>
//   	<genre name="Radio Eins" url="http://example.org/stream" ></genre>
//   </genrelist>
//
// Reading is the favourites branch of Ctarnwave::start_download; writing is
// Ctarnwave::write_genrelist. A file that did not parse when it was read is
// renamed aside (genrelist.xml.broken, then .broken.1, ...) before the list is
// first written over it, so that favourites the list never got are not lost.

#include "base/estring.h"

#include <cstdio>
#include <functional>

class Ctarnwave;
class XMLTreeParser;
class my_ListBox;

// Where the favourites live on the box (mapped through boxPath).
inline constexpr const char *genrelistPath = "/var/tuxbox/config/genrelist.xml";

// The file is fed to the parser in pieces of this size.
inline constexpr int genrelistPieceSize = 2048;

// Hands one piece of the file to the parser; non-zero while the document is
// well-formed so far (XMLTreeParser::Parse).
using GenrelistPieceParser = std::function<int(XMLTreeParser &parser, const char *piece, int length, int isFinal)>;

// Reads the favourites file into window.xmlParser (which start_download has
// just made afresh) and, when it parsed, into the favourites list. A missing
// file changes nothing and says nothing; a file that is not well-formed leaves
// the list as it was, says "XML parse error." in the status line and sets
// window.favouritesUnparsed. The parser is deleted afterwards, except when the
// file could not be opened.
void read_genrelist(Ctarnwave &window);
// The same with each piece handed to `parsePiece` instead of straight to the
// parser, so that the pieces can be watched.
void read_genrelist(Ctarnwave &window, const GenrelistPieceParser &parsePiece);

// Writes one favourite's line into the open favourites file. Escapes the
// name of the row's record in place first, so every save escapes it again.
struct save_genrexml
{
    std::FILE *file;

    bool operator()(const my_ListBox &row);
};

// Replaces every occurrence of `find` in `text` by `replacement`, going on
// after each inserted replacement (so "&" -> "&amp;" is not applied twice in
// one pass). An empty `find` changes nothing.
void replaceAll(eString &text, const eString &find, const eString &replacement);

#endif
