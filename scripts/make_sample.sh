#!/usr/bin/env bash
# Makes a movie to try the importer with: two seconds of v210, 1920 x 1080 at 25 frames a second,
# and of 24-bit stereo. Usage: make_sample.sh MOVIE
set -euo pipefail

[ $# -eq 1 ] || { echo "usage: make_sample.sh MOVIE" >&2; exit 2; }

# Written under another name first, so that a movie that is there is whole.
gst-launch-1.0 -q \
    videotestsrc num-buffers=50 ! \
    video/x-raw,format=v210,width=1920,height=1080,framerate=25/1 ! queue ! mux. \
    audiotestsrc num-buffers=50 samplesperbuffer=1920 ! \
    audio/x-raw,format=S24LE,rate=48000,channels=2 ! queue ! mux. \
    qtmux name=mux ! filesink location="$1.part"
mv "$1.part" "$1"
