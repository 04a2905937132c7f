#!/usr/bin/env bash
# waylandTest.sh OMRENDER OMDEMO X11TEST: windows under Weston and XWayland, without a screen. Skipped (77) without them.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
x11Test=$(realpath "$3")
cd "$work" || exit 1
if ! command -v weston >/dev/null || ! command -v Xwayland >/dev/null; then
  echo "skipped: this needs the packages weston and xwayland"
  exit 77
fi

export XDG_RUNTIME_DIR=$work
weston --backend=headless-backend.so --xwayland --no-config --log=log >/dev/null 2>&1 &
weston=$!
trap 'kill "$weston"; wait "$weston"; rm -rf "$work"' EXIT
eventually "Weston does not start" grep -q 'xserver listening on display' log
DISPLAY=$(sed -n 's/.*xserver listening on display //p' log)
export DISPLAY

"$omdemo" chart chart.png || wrong "chart"
timeout 60 "$omrender" show chart.png --seconds 0 --capture out.png || wrong "show"
"$omdemo" compare chart.png out.png || wrong "the capture differs"
# Drivers that wait for the screen show an invisible window once a second.
timeout 30 "$x11Test" --gtest_filter='*CoveredAndHidden*' >test.log || wrong "swaps: $(cat test.log)"
[[ $failures == 0 ]]
