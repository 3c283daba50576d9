#!/usr/bin/env python3
"""The plug-in's rules for a station list, written with Python's ElementTree.

The reference of bench_directory: the same reply, fed to the parser in
2048-byte pieces, then the stations that are listed picked out as the
plug-in picks them (only "audio/mpeg", a bitrate read as C's atoi reads it at
or above the minimum, at most 500 counted on the ones listed, the tune-in base
of the "tunein" element before them).

Usage: directory_rules.py FILE REPETITIONS [MIN_BITRATE]
Prints "rows=N best_us=T": the rows made and the best time of the
repetitions in microseconds (reading the file is not timed).
"""

import re
import sys
import time
import xml.etree.ElementTree as ElementTree

PIECE_SIZE = 2048
MAX_STATIONS = 500
ATOI = re.compile(r"\s*([+-]?\d+)")


def atoi(text):
    match = ATOI.match(text)
    return int(match.group(1)) if match else 0


def station_rows(data, min_bitrate):
    parser = ElementTree.XMLParser(encoding="UTF-8")
    for offset in range(0, len(data), PIECE_SIZE):
        parser.feed(data[offset:offset + PIECE_SIZE])
    root = parser.close()

    rows = []
    tunein_base = ""
    accepted = 0
    for node in root:
        if node.tag == "tunein":
            tunein_base = node.get("base", "")
        if node.tag == "station" and accepted < MAX_STATIONS:
            name = node.get("name")
            if name is not None and node.get("mt") == "audio/mpeg":
                bitrate = node.get("br", "")
                if atoi(bitrate) >= min_bitrate:
                    accepted += 1
                    rows.append({"index": accepted, "name": name, "type": 0, "tuneinBase": tunein_base,
                                 "bitrate": bitrate, "id": node.get("id", ""), "genre": node.get("genre", "")})
    return rows


def main():
    path = sys.argv[1]
    repetitions = max(1, int(sys.argv[2]))
    min_bitrate = int(sys.argv[3]) if len(sys.argv) > 3 else 128
    with open(path, "rb") as reply:
        data = reply.read()

    best = None
    rows = []
    for _ in range(repetitions):
        start = time.perf_counter()
        rows = station_rows(data, min_bitrate)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    print(f"rows={len(rows)} best_us={best * 1e6:.1f}")


if __name__ == "__main__":
    main()
