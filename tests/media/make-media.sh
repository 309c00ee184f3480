#!/bin/bash
# Makes the clips that the tests play: ./make-media.sh [FOLDER], by default build/media of the checkout.
# Only clips whose recipe has changed are made anew. Needs python3 and Debian's ffmpeg.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
exec python3 "$here/make_media.py" "${1:-$here/../../build/media}"
