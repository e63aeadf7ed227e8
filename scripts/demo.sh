#!/bin/bash
# Shows the orv command at work on real files, in a sandbox home that is removed at the end.
#
# demo.sh [ORV]    the command to show; default: the release build's
set -Eeuo pipefail
orv=$(realpath "${1:-$(dirname "$0")/../build/release/bin/orv}")
[[ -x $orv ]] || { echo "There is no command $orv: build it first, with make demo." >&2; exit 1; }

home=$(mktemp -d "${TMPDIR:-/tmp}/orv-demo-XXXXXX")
trap 'rm -rf "$home"' EXIT
cd "$home"
current="the sandbox"
trap 'echo "The demo failed at: $current" >&2' ERR

step() {
    current=$1
    printf '\n%s\n' "$current"
}

show_command() {
    printf '  $ orv'
    printf ' %q' "$@"
    printf '\n'
}

run() {
    show_command "$@"
    "$orv" --home "$home" "$@" | sed 's/^/  /'
}

# The same with the output of another command, a plain line of words, as its input.
run_with_input() {
    local input=$1
    shift
    printf '  $ %s | orv' "$input"
    printf ' %q' "$@"
    printf '\n'
    bash -c "$input" | "$orv" --home "$home" "$@" | sed 's/^/  /'
}

# Runs the command as on a terminal, where it draws a progress bar.
run_with_bar() {
    show_command "$@"
    local line
    printf -v line '%q ' "$orv" --home "$home" "$@"
    if [[ -t 1 ]]; then
        "$orv" --home "$home" "$@"
    elif script -qec true /dev/null </dev/null >/dev/null 2>&1; then
        # Its last two states, which one line would show after each other.
        script -qec "stty cols 80; $line" /dev/null </dev/null | tr '\r' '\n' |
            sed -e 's/\x1b\[[0-9;?]*[A-Za-z]//g' -e '/^[[:space:]]*$/d' -e 's/^/  /' | tail -n 2
    else
        "$orv" --home "$home" "$@"
    fi
}

expect() {
    "$@" || { echo "  That is not what was to be expected: $*" >&2; return 1; }
}

photo() {
    head -c "$2" /dev/urandom >"$1"
    touch -d "$3" "$1"
}

make_home() {
    mkdir -p Documents/Letters Photos/Lake Photos/Town Backup
    photo Photos/Lake/boat.jpg 3200000 "2024-07-02 10:12"
    photo Photos/Lake/sunset.jpg 2750000 "2024-07-02 21:40"
    photo Photos/Lake/swim.mp4 64000000 "2024-07-03 15:05"
    photo Photos/Town/market.jpg 1980000 "2024-09-14 11:30"
    printf 'Dear Ms Weber,\n\nthe heating works again.\n' >Documents/Letters/landlord.txt
    printf 'item,amount\nrent,840\nbooks,36\n' >Documents/accounts.csv
    printf '# Packing list\n\n- tent\n- lamp\n' >Documents/packing.md
    touch -d "2024-06-28 18:05" Documents/*.*
}

make_home
echo "A sandbox home was made in $home; all that follows happens in it."

step "1. List a folder, as the engine describes its items."
run ls --long Documents

step "2. Add up the size of a folder tree."
run du Photos

step "3. Copy the tree: the request measures it first, then reports its progress."
run_with_bar cp Photos Backup
expect diff -r Photos Backup/Photos

step "4. Copy it again: the name is taken, and the answer given in advance is to keep both."
run cp Photos Backup --on-conflict keep-both
run ls Backup
expect diff -r Photos "Backup/Photos (2)"

step "5. Attributes are kept beside the files, and follow them."
run attr set Documents/packing.md --protected on --order 3
run cp Documents/packing.md Backup
run attr get Backup/packing.md
expect grep -q 'order: 3' <<<"$("$orv" --home "$home" attr get Backup/packing.md)"

step "6. Rename it and move the copy away: the attributes are found under every new name."
run rename Backup/packing.md "Packing 2024.md"
run mkdir Archive
run mv "Backup/Packing 2024.md" Backup/Photos Archive
run attr get "Archive/Packing 2024.md"
expect grep -q 'order: 3' <<<"$("$orv" --home "$home" attr get "Archive/Packing 2024.md")"
expect diff -r Photos Archive/Photos

step "7. Copy several items at once, in one request with one progress."
run_with_bar cp Photos/Lake Photos/Town Documents/Letters Archive
expect diff -r Photos/Lake Archive/Lake

step "8. Paste onto what is there: one answer for all conflicts, and a file that nobody can read is told and left out."
cp -a Photos/Lake Old
touch -d "2020-01-01" Old/boat.jpg Old/sunset.jpg
mkdir Pasted
"$orv" --home "$home" --quiet cp Old Pasted
printf 'a newer picture' >Old/boat.jpg
ln -s no/such/file Old/broken.jpg
show_command cp -L Old Pasted --on-conflict replace-older
paste() {
    "$orv" --home "$home" cp -L Old Pasted --on-conflict replace-older
}
report=$(paste 2>&1) && expect false
sed 's/^/  /' <<<"$report"
expect grep -q 'No such file or directory' <<<"$report"
expect diff Old/boat.jpg Pasted/Old/boat.jpg

step "9. Write what another program prints to a new file, which appears when it is complete."
run_with_input "sort Documents/accounts.csv" write Archive/sorted.csv
expect diff <(sort Documents/accounts.csv) Archive/sorted.csv
run ls --long Archive

step "10. Find items by what is in them, whatever the case, and list what is protected."
run find . "HEATING" --content -r
expect grep -q landlord.txt <<<"$("$orv" --home "$home" find . HEATING --content -r)"
run protected --sort name
expect grep -q 'Packing 2024.md' <<<"$("$orv" --home "$home" protected)"

step "11. Pack a folder with a password, which is read from a file, and unpack it again."
echo "a long walk by the lake" >Documents/password
run_with_bar zip Archive/photos.zip Photos --password-file Documents/password
run_with_bar unzip Archive/photos.zip Backup --password-file Documents/password
expect diff -r Photos Backup/photos/Photos

step "12. Fill a folder with example files, as an application may do on its first start."
"$orv" --home "$home" examples Examples >examples.log
show_command examples Examples
sed -e 's/^/  /' -e 4q examples.log
echo "  ... and $(($(wc -l <examples.log) - 4)) lines more"
rm examples.log
expect test -s Examples/Books/The-Prince.pdf
run ls --long Examples/Pictures

step "13. Make thumbnails of a picture and of a book, in a process that their content can't leave."
run thumb Examples/Pictures/foxies.jpg fox.png --width 240
run thumb Examples/Books/The-Prince.pdf prince.jpg --height 320 --quality 0.8
expect test -s fox.png -a -s prince.jpg
rm fox.png prince.jpg

step "14. Watch a folder: after its list, a line for every change that any program makes."
show_command ls Archive --watch
"$orv" --home "$home" ls Archive --watch >watched.log &
wait_for_line() { until grep -qx "$1" watched.log; do sleep 0.05; done; }
wait_for_line sorted.csv
mv Archive/sorted.csv Archive/by-item.csv
mkdir Archive/New
wait_for_line "added New"
kill $!
wait $! || true
sed 's/^/  /' watched.log
expect grep -qx 'renamed sorted.csv -> by-item.csv' watched.log
rm watched.log

step "15. Take back the last changes, each in a process of its own, until something was changed since."
run trash Documents/accounts.csv
run mv Documents/Letters Photos
run undo --list
run undo
run undo
expect test -e Documents/accounts.csv -a -e Documents/Letters
run cp Documents/accounts.csv Backup
echo 'gifts,20' >>Backup/accounts.csv
show_command undo
refused=$("$orv" --home "$home" undo 2>&1) && expect false
sed 's/^/  /' <<<"$refused"
expect grep -q 'changed since' <<<"$refused"

step "16. Delete folders with everything in them, attributes included."
run rm Backup Archive
expect test ! -e Backup -a ! -e Archive
run ls .

printf '\nThe sandbox is removed again. orv --help lists every command.\n'
