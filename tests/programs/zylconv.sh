#!/usr/bin/env bash
# zylconv.sh ZYLCONV SCENES
# Runs the program as a user would, and holds what it prints and its exit status to what is expected.
set -u
zylconv=$1
scenes=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failures=0

# check NAME STATUS COMMAND...: the command's output goes to out and err.
check() {
    local name=$1 wanted=$2
    shift 2
    "$@" >out 2>err
    local status=$?
    [ "$status" -eq "$wanted" ] && return
    complain "$name" "exit $status instead of $wanted"
}
complain() {
    echo "FAILED $1: $2"
    sed 's/^/    out: /' out | head -n 8
    sed 's/^/    err: /' err | head -n 8
    failures=$((failures + 1))
}
has() { grep -qF -- "$3" "$2" || complain "$1" "\"$3\" isn't in $2"; }
hasnt() { ! grep -qF -- "$3" "$2" || complain "$1" "\"$3\" is in $2"; }

cat >box.zyl <<'SCENE'
// ZYL ASCII V1.0
background { 0, 0, 1 };
Material { name "red"; emission { 1, 0, 0 }; diffuse { 0, 0, 0 }; ambient { 0, 0, 0 }; face 2; }
Group {
    name "house";
    children {
        Cube { name "left"; material "red"; transform { translate { -2, 0, 0 }; }; }
        Cube { name "right"; material "red"; transform { translate { 2, 0, 0 }; }; }
        Spaceship { name "ufo"; }
    };
}
MoveAction { name "move"; }
connection { action "move"; input 0; output { "/objects/house/right" }; }
connection { signal "valueChanged(int,double)"; receiver "move"; slot "evaluate(int,double)"; }
SCENE

# Usage: what is wrong is named, and the status is 2.
while IFS='|' read -r arguments message; do
    # shellcheck disable=SC2086
    check "usage: $arguments" 2 "$zylconv" $arguments
    has "usage: $arguments" err "$message"
done <<'CASES'
|no command given
fly|there is no command fly
info|usage: zylconv info FILE
render box.zyl|usage: zylconv render IN OUT.png
info --size 3x3 box.zyl|--size doesn't go with info
render --size 3 box.zyl a.png|--size takes WxH, each from 1 to 16384, not "3"
render --size 0x9 box.zyl a.png|--size takes WxH
render --zoom 0 box.zyl a.png|--zoom takes a number above 0
render --view up box.zyl a.png|--view takes top, bottom
render --projection flat box.zyl a.png|--projection takes perspective or orthographic
render --set x=1 box.zyl a.png|--set takes KEY=VALUE
render --background nocolour box.zyl a.png|--background takes a colour
render --zoom|--zoom takes a number above 0
info --exact box.zyl|--exact doesn't go with info
convert --exact=1 box.zyl b.zyl|--exact takes no value
render --colour red box.zyl a.png|there is no option --colour
pick box.zyl 900 0|a pixel of the picture, from 0 0 to 799 599
CASES

check help 0 "$zylconv" --help
has help out "usage: zylconv COMMAND"
check formats 0 "$zylconv" formats
has formats out ".zylb"
has formats out "picture PNG"

# What a scene holds.
check info 0 "$zylconv" info box.zyl
for line in "format ZYL ASCII" "GL_Cube 2" "GL_Group 1" "GL_Material 1" "action::MoveAction 1" \
    "bounds -2.5 -0.5 -0.5 2.5 0.5 0.5" "connection move 0 -> house/right -1" \
    "connection scene valueChanged(int,double) -> move evaluate(int,double)" \
    "skipped line 9: skipped class Spaceship"; do
    has info out "$line"
done
has info err "box.zyl: line 9: skipped class Spaceship"
check "info with a value" 0 "$zylconv" info --set 0=3 box.zyl
has "info with a value" out "bounds -2.5 -0.5 -0.5 5.5 0.5 0.5"

# There and back: the second text is the first.
check "to binary" 0 "$zylconv" convert box.zyl box.zylb
check "to text" 0 "$zylconv" convert box.zylb one.zyl
check "to binary again" 0 "$zylconv" convert one.zyl again.zylb
check "to text again" 0 "$zylconv" convert again.zylb two.zyl
cmp -s one.zyl two.zyl || complain "round trip" "the texts differ"
cmp -s box.zylb again.zylb || complain "round trip" "the binary forms differ"
check "moved by a value" 0 "$zylconv" convert --set 0=1.25 box.zylb moved.zyl
has "moved by a value" moved.zyl "translate { 3.25, 0, 0 };"

# Pixels: red cubes left and right of a blue middle, from above; picking names what a picture shows.
options=(--size 90x60 --projection orthographic)
check render 0 "$zylconv" render "${options[@]}" box.zyl box.png
pixel() { # FILE X Y
    pngtopnm "$1" 2>/dev/null | pnmcut -left "$2" -top "$3" -width 1 -height 1 | pnmtoplainpnm | tail -n 1 | tr -s ' '
}
[ "$(pixel box.png 21 30 | xargs)" = "255 0 0" ] || complain render "left pixel is $(pixel box.png 21 30)"
[ "$(pixel box.png 45 30 | xargs)" = "0 0 255" ] || complain render "middle pixel is $(pixel box.png 45 30)"
check "pick left" 0 "$zylconv" pick "${options[@]}" box.zyl 21 30
has "pick left" out "house/left GL_Group/GL_Cube"
check "pick right, moved off" 1 "$zylconv" pick "${options[@]}" --set 0=3 box.zyl 69 30
has "pick right, moved off" out "nothing"
check "pick nothing" 1 "$zylconv" pick "${options[@]}" box.zyl 45 30
check "background" 0 "$zylconv" render "${options[@]}" --background '#00ff00' --antialias box.zyl green.png
[ "$(pixel green.png 45 30 | xargs)" = "0 255 0" ] || complain background "middle pixel is $(pixel green.png 45 30)"

# Pictures.
check "picture converted" 0 "$zylconv" convert box.png box.bmp
check "picture's info" 0 "$zylconv" info box.bmp
has "picture's info" out "size 90x60"
check "picture is no scene" 1 "$zylconv" render box.png out.png
has "picture is no scene" err "is a picture, not a scene"

# Failures are told in one line, and leave old files whole.
check "missing file" 1 "$zylconv" info nowhere.zyl
has "missing file" err "nowhere.zyl: there is no such file"
check "a folder" 1 "$zylconv" info "$work"
printf 'hello, this is no scene at all\n' >text.txt
check "unknown" 1 "$zylconv" info text.txt
has "unknown" err "neither the content nor the ending"
head -c 60 box.zylb >torn.zylb
check "torn file" 1 "$zylconv" info torn.zylb
has "torn file" out "format ZYL BINARY"
echo old >kept.zylb
mkdir locked && cp kept.zylb locked/
check "unwritable ending" 1 "$zylconv" convert box.zyl out.dxf
check "no such folder" 1 "$zylconv" convert box.zyl missing/out.zyl
if [ "$(id -u)" -ne 0 ]; then
    chmod a-w locked locked/kept.zylb
    check "locked folder" 1 "$zylconv" convert box.zyl locked/kept.zylb
    has "failed save" locked/kept.zylb old
fi
printf '// ZYL BINARY V1.0\n' >empty.zylb
check "empty binary" 0 "$zylconv" info empty.zylb
has "empty binary" err "taken as ZYL BINARY by its ending"

# The example scenes hold nothing that is passed over, and draw something.
for scene in "$scenes"/*.zyl; do
    name=$(basename "$scene")
    check "$name" 0 "$zylconv" info "$scene"
    hasnt "$name" out skipped
    [ ! -s err ] || complain "$name" "there are warnings"
    check "$name drawn" 0 "$zylconv" render --size 64x48 "$scene" drawn.png
    colours=$(pngtopnm drawn.png 2>/dev/null | ppmhist -noheader 2>/dev/null | wc -l)
    [ "$colours" -gt 20 ] || complain "$name drawn" "only $colours colours"
    check "$name saved" 0 "$zylconv" convert "$scene" saved.zylb
    check "$name read again" 0 "$zylconv" convert saved.zylb saved.zyl
    [ ! -s err ] || complain "$name read again" "there are warnings"
done

[ "$failures" -eq 0 ] && echo "all well"
exit $((failures > 0))
