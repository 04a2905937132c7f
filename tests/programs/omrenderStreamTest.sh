#!/usr/bin/env bash
# omrenderStreamTest.sh OMRENDER OMDEMO REFERENCE: streams of pictures, to and from the real ffmpeg, without a display.
# shellcheck source=tests/support/programTest.sh
source "$(dirname "${BASH_SOURCE[0]}")/../support/programTest.sh"
reference=$(realpath "$3")
unset DISPLAY
cd "$work" || exit 1
if ! command -v ffmpeg >/dev/null; then
  echo "no ffmpeg"
  exit 77
fi

identity() { "$omrender" filter --shader identity "$@" - --out -; }
video() { ffmpeg -v error -f lavfi -i testsrc2=s=162x90:r=25:d=1 "$@" -; }
pixels() { ffmpeg -v error -f image2pipe -c:v "$1" -i - -f rawvideo -pix_fmt "$2" -; }

# A lossless round trip through each format and number of jobs: as many frames, with the same pixels.
video -f rawvideo -pix_fmt rgb24 >rgb24
video -f rawvideo -pix_fmt rgba >rgba
[[ $(stat -c %s rgb24) == $((162 * 90 * 3 * 25)) ]] || wrong "the video has $(stat -c %s rgb24) bytes"
for jobs in 1 2 7; do
  video -f image2pipe -c:v ppm | identity --jobs $jobs | pixels ppm rgb24 | cmp - rgb24 || wrong "PPM, $jobs jobs"
  video -f image2pipe -c:v pam -pix_fmt rgba | identity --jobs $jobs --memory 1 | pixels pam rgba | cmp - rgba ||
    wrong "PAM, $jobs jobs"
  video -f image2pipe -c:v png -pix_fmt rgba | identity --jobs $jobs | pixels png rgba | cmp - rgba || wrong "PNG, $jobs jobs"
  identity --raw 162x90:rgb24 --jobs $jobs <rgb24 | cmp - rgb24 || wrong "rgb24, $jobs jobs"
done
identity --raw 162x90:rgba <rgba | cmp - rgba || wrong "rgba"
video -f rawvideo -pix_fmt gray | identity --raw 162x90:gray >grey || wrong "gray"
video -f rawvideo -pix_fmt gray | python3 -c 'import sys
sys.stdout.buffer.write(bytes(v for v in sys.stdin.buffer.read() for _ in range(3)))' | cmp - grey || wrong "gray: not rgb24"
identity --raw 162x90:rgba --format ppm <rgba | pixels ppm rgb24 | cmp - rgb24 || wrong "raw to PPM"
video -f image2pipe -c:v png | identity --format raw | cmp - rgb24 || wrong "PNG to raw"
identity --raw 162x90:rgb24 --format png --compression fast <rgb24 | pixels png rgb24 | cmp - rgb24 || wrong "raw to PNG"

# One picture to and from files, as the filter makes it of files.
"$omdemo" chart chart.png || wrong "chart"
for format in png ppm pam; do
  "$omrender" filter --shader edges --set strength=0.75 chart.png --format $format --out - >from.$format 2>stderr &&
    "$reference" edges chart.png from.$format chart.png >stdout || wrong "--out - of $format: $(cat stdout stderr)"
  "$omrender" filter --shader identity - --out to.png <from.$format && "$omdemo" compare from.$format to.png >stdout ||
    wrong "$format to a file: $(cat stdout)"
done

# A frame comes out before the next one goes in.
python3 - "$omrender" <<'END' 2>stdout || wrong "a live stream: $(cat stdout)"
import subprocess, sys, threading
for jobs in "1", "2", "7":
    program = [sys.argv[1], "filter", "--shader", "identity", "--jobs", jobs, "--raw", "64x1:rgb24", "-", "--out", "-"]
    run = subprocess.Popen(program, bufsize=0, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    hung = threading.Timer(60, run.kill)
    hung.start()
    for number in range(5):
        frame = bytes([number]) * 192
        run.stdin.write(frame)
        assert run.stdout.read(192) == frame, f"{jobs} jobs: frame {number} does not come out"
    run.stdin.close()
    assert run.wait() == 0
    hung.cancel()
END

# ends STATUS FRAMES WORDS: how identity ends; its input is in the file frames, and so many of rgb24 come out before.
ends() {
  local jobs got
  for jobs in 1 2 7; do
    got=0
    identity --jobs $jobs --format raw <frames >out 2>stderr || got=$?
    [[ $got == "$1" && $(wc -l <stderr) == 1 && $(cat stderr) == "omrender: "*"$3"* ]] ||
      wrong "$3, $jobs jobs: status $got, $(cat stderr)"
    head -c $((162 * 90 * 3 * $2)) rgb24 | cmp - out || wrong "$3, $jobs jobs: not $2 frames"
  done
}
video -f image2pipe -c:v ppm >ppm
video -f image2pipe -c:v png >png
head -c 500000 ppm >frames
ends 1 11 'frame 12": '
python3 - <<'END' # the fifth picture has a wrong sum
data = bytearray(open("png", "rb").read())
at = -1
for _ in range(5):
    at = data.index(b"IDAT", at + 1)
data[at + 40] ^= 1
open("frames", "wb").write(data)
END
ends 1 4 'frame 5": '
true >frames
ends 1 0 'no picture'
cp chart.png frames
"$omrender" filter --shader identity --jobs 2 --format raw - --out - <<<"text" >out 2>stderr && wrong "text: status 0"
grep -q 'frame 1": ' stderr || wrong "text: $(cat stderr)"
cat from.ppm ppm >frames
"$omrender" filter --shader identity --format raw - --out - <frames >out 2>stderr && wrong "two sizes: status 0"
grep -q 'different shapes' stderr || wrong "two sizes: $(cat stderr)"
"$reference" noise 3 30 40 tall.png && "$reference" noise 3 40 30 wide.png || wrong "noise"
cat tall.png wide.png | "$omrender" filter --shader identity --format raw - --out - >out 2>stderr &&
  wrong "two shapes of one size: status 0"
grep -q 'different shapes' stderr || wrong "two shapes: $(cat stderr)"
refuses 1 "more than one picture" filter --shader identity - --out out.png <ppm
printf '#extension GL_none : enable\nvoid main() { gl_FragColor = vec4(1.0); }' >warned.frag
"$omrender" filter --shader ./warned.frag --format raw - --out - <<<"text" >out 2>stderr && wrong "text: status 0"
[[ $(cat stderr) == 'omrender: warning: '*GL_none*$'\n'*'frame 1"'* ]] || wrong "warnings of a broken stream: $(cat stderr)"
cp chart.png own.png
refuses 2 "over" filter --shader identity - --out own.png <own.png
{ printf 'P6 1000000 1000000 255\n'; cat /dev/zero; } | refuses 1 'more than' filter --shader identity - --out - >out
"$omrender" filter --shader identity chart.png --out - >/dev/full 2>stderr
[[ $? == 4 ]] || wrong "a full disk: another status"
grep -q 'standard output: No space' stderr || wrong "a full disk: $(cat stderr)"

# Whoever closes the pipe ends the program quietly, also where PIPE is ignored.
for action in - ''; do
  # shellcheck disable=SC2064 # it is - or empty
  (trap "$action" PIPE
    for _ in {1..200}; do cat ppm || break; done 2>/dev/null |
      { identity --jobs 3 2>stderr; echo $? >status; } | head -c 1000 >/dev/null)
  [[ $(cat status) == 141 && ! -s stderr ]] || wrong "a closed pipe: status $(cat status), $(cat stderr)"
done

refuses 2 "no other FILE" filter --shader identity - chart.png --out-dir out <ppm
refuses 2 "--out-dir" filter --shader identity - --out-dir out <ppm
refuses 2 "--raw" filter --shader identity chart.png --raw 1x1:rgba --out out.png
refuses 2 "--quality" filter --shader identity chart.png --quality 90 --out -
for raw in 162x90 162x90:bgra 0x3:rgba 162x90: :rgba; do
  refuses 2 "--raw" filter --shader identity --raw $raw - --out - <rgba
done
script -qec "'$omrender' filter --shader identity chart.png --out -" /dev/null </dev/null >stdout
grep -q "is a terminal" stdout || wrong "a terminal for standard output: $(head -c 300 stdout)"
script -qec "'$omrender' filter --shader identity - --out x.png" /dev/null </dev/null >stdout
grep -q "is a terminal" stdout || wrong "a terminal for standard input: $(head -c 300 stdout)"

[[ $failures == 0 ]]
