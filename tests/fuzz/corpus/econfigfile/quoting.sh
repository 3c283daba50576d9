#!/bin/sh
STREAMDIR='/media/my music'   # single quoted, with a comment
export DAEMON="/usr/bin/stream\"ripper\" \$x"
PLAIN=abc;echo done
EMPTY=
DOUBLE=""
TWICE=first
TWICE=second
LANG=C ls
GLUED="a"b
OPEN="never closed
  INDENTED=yes
