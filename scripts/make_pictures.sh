#!/usr/bin/env bash
# Draws the pictures of the dialog into resources/pictures. The results are in the repository; run this only after
# changing it. Pictures are drawn at sixteen times their size and scaled down, for smooth edges.
set -euo pipefail
out=$(cd "$(dirname "$0")/.." && pwd)/resources/pictures
mkdir -p "$out"
readonly factor=16

# draw NAME WIDTH HEIGHT BACKGROUND MVG: the drawing's units are pixels of the picture. A second picture of twice the
# size is for high-resolution screens.
draw() {
  local name=$1 width=$2 height=$3 background=$4 commands=$5
  local drawn=(-font DejaVu-Sans-Bold -size "$((width * factor))x$((height * factor))" "xc:$background" -draw "scale $factor,$factor $commands"
    -filter Box)
  local plain=(-strip -define "png:exclude-chunks=date,time")
  convert "${drawn[@]}" -resize "${width}x${height}!" "${plain[@]}" "PNG32:$out/$name.png"
  convert "${drawn[@]}" -resize "$((2 * width))x$((2 * height))!" "${plain[@]}" "PNG32:$out/$name@2x.png"
}

# A printed card: band, portrait, lines of text. Its top left corner is at 0,0; it is 30 by 20 units.
readonly card='
  fill #00000040 roundrectangle 0.8,1.2 30.8,21.2 2.2,2.2
  fill #f4f6f8 roundrectangle 0,0 30,20 2.2,2.2
  fill #3f7fb5 path "M 0,5 L 0,2.2 A 2.2,2.2 0 0,1 2.2,0 L 27.8,0 A 2.2,2.2 0 0,1 30,2.2 L 30,5 Z"
  fill #ffffffc0 rectangle 3,2 11,3
  fill #c9d6e2 roundrectangle 3,7.2 11.6,17.4 0.8,0.8
  fill #6d8296 circle 7.3,10.6 7.3,12.6
  fill #6d8296 path "M 3.9,17.4 C 3.9,14.4 5.2,13.3 7.3,13.3 C 9.4,13.3 10.7,14.4 10.7,17.4 Z"
  fill #8b99a6 rectangle 14.5,8.2 26.5,9.8
  fill #b9c3cc rectangle 14.5,11.6 24,12.9
  fill #b9c3cc rectangle 14.5,14.6 21,15.9'

# The update badge: an orange disc around 0,0, 16 units wide, with a white arrow that points down to a tray.
readonly badge='
  fill #00000050 circle 0.4,0.9 8.9,0.9
  fill #ffffff circle 0,0 8.6,0
  fill #e8771a circle 0,0 7.6,0
  fill #f59a3c path "M -7.6,0 A 7.6,7.6 0 0,1 7.6,0 A 13,9 0 0,0 -7.6,0 Z"
  fill #ffffff path "M -1.4,-5 L 1.4,-5 L 1.4,-0.6 L 4.2,-0.6 L 0,3.4 L -4.2,-0.6 L -1.4,-0.6 Z"
  fill #ffffff rectangle -4.2,4.2 4.2,5.6'

draw imgPicture 48 46 '#404040' "
  push graphic-context translate 6,5 rotate -7 translate 2,4 scale 1.16,1.16
    fill #00000040 roundrectangle 0.8,1.2 30.8,21.2 2.2,2.2 fill #8fb6d6 roundrectangle 0,0 30,20 2.2,2.2
  pop graphic-context
  push graphic-context translate 4.5,13 scale 1.2,1.2 $card pop graphic-context
  push graphic-context translate 37.4,35.4 $badge pop graphic-context"

draw icon 64 64 none "
  push graphic-context translate 6,8 rotate -7 translate 4,4 scale 1.6,1.6
    fill #00000040 roundrectangle 0.8,1.2 30.8,21.2 2.2,2.2 fill #8fb6d6 roundrectangle 0,0 30,20 2.2,2.2
  pop graphic-context
  push graphic-context translate 4,18 scale 1.65,1.65 $card pop graphic-context
  push graphic-context translate 48.5,48.5 scale 1.45,1.45 $badge pop graphic-context"

draw arrow 14 15 '#383838' '
  fill #00000060 path "M 2.2,6 L 7.4,6 L 7.4,3 L 13,8.3 L 7.4,13.6 L 7.4,10.6 L 2.2,10.6 Z"
  fill #e8771a path "M 1.4,5 L 6.8,5 L 6.8,2 L 12.6,7.5 L 6.8,13 L 6.8,10 L 1.4,10 Z"
  fill #f7a651 path "M 1.4,5 L 6.8,5 L 6.8,2 L 12.6,7.5 L 1.4,7.5 Z"'

# The finger tip is the hot spot, 12,5.
draw hand 32 32 none '
  stroke #000000 stroke-width 1.1 stroke-linejoin round fill #ffffff
  path "M 10.6,18.6 L 10.6,7 C 10.6,4.4 14.4,4.4 14.4,7 L 14.4,12.6
        C 15.2,11.2 17.8,11.6 17.9,13.4 C 18.8,12.2 21.1,12.7 21.2,14.4 C 22.2,13.4 24.3,14 24.4,16
        L 24.4,20.5 C 24.4,23 23.2,24.2 22.6,25.6 L 22.6,28 L 12.6,28 L 12.6,26
        C 11.6,24.4 9.2,22 7.4,19 C 5.9,16.6 8,15.2 9.4,16.8 Z"
  fill none path "M 14.4,12.6 L 14.4,17.2" path "M 17.9,13.4 L 17.9,17.4" path "M 21.2,14.4 L 21.2,17.6"
  path "M 12.6,25.2 L 22.6,25.2"'

# The icons of the messages.
readonly disc='fill #00000040 circle 16,17 16,31.5'
draw information 32 32 none "$disc
  fill #3f7fb5 circle 16,16 16,30.5 fill #5c9bd0 path 'M 1.5,16 A 14.5,14.5 0 0,1 30.5,16 A 24,15 0 0,0 1.5,16 Z'
  fill #ffffff circle 16,9 16,11.2 rectangle 14,13.4 18,24"
draw question 32 32 none "$disc
  fill #3f7fb5 circle 16,16 16,30.5 fill #5c9bd0 path 'M 1.5,16 A 14.5,14.5 0 0,1 30.5,16 A 24,15 0 0,0 1.5,16 Z'
  fill #ffffff font-size 22 text 9.6,24 '?'"
draw warning 32 32 none "
  fill #00000040 stroke #00000040 stroke-width 3 stroke-linejoin round path 'M 16,4.5 L 29.5,28.5 L 2.5,28.5 Z'
  fill #f0a830 stroke #f0a830 stroke-width 3 stroke-linejoin round path 'M 16,3.5 L 29.5,27.5 L 2.5,27.5 Z'
  stroke none fill #2c2c2c path 'M 14,10 L 18,10 L 17.2,19.6 L 14.8,19.6 Z' circle 16,23.6 16,25.7"
draw stop 32 32 none "$disc
  fill #c23b32 circle 16,16 16,30.5 fill #d85c50 path 'M 1.5,16 A 14.5,14.5 0 0,1 30.5,16 A 24,15 0 0,0 1.5,16 Z'
  fill none stroke #ffffff stroke-width 3.6 stroke-linecap round path 'M 10.6,10.6 L 21.4,21.4' path 'M 21.4,10.6 L 10.6,21.4'"
