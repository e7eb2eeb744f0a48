#!/bin/sh
# Proves that an image has nothing of vx-kro-amt: neither the program, under whatever name, nor what starts or allows it.
#   absence-check.sh IMAGE-FOLDER
# IMAGE-FOLDER holds the image's unpacked partitions: system, vendor, product, the ramdisk and so on, each as a folder of
# files. A packed file (.img, .apex and the like) is a finding, too, unless what was in it stands beside it in a folder
# of its name with .unpacked behind: system/apex/a.apex in system/apex/a.apex.unpacked. Packed files are known by their
# first bytes, whatever their name; those of gzip are looked into.
# It cannot see: into applications (.apk, .jar: the service is none); what is encrypted, or packed in a way of its own; a
# program whose texts were changed; partitions that are not in the folder; what a phone has got since.
# Prints a line for each finding. Exit status: 0 none, 1 some, 2 wrong usage, or the folder cannot be read or is no image.
set -u

fail() {
  echo "absence-check: $1" >&2
  exit 2
}

[ $# -eq 1 ] || fail "usage: absence-check.sh IMAGE-FOLDER"
[ -d "$1" ] || fail "no folder $1"
cd -- "$1" || fail "cannot enter $1"
# A wrong folder would pass every check.
[ -n "$(find . -name build.prop -type f | head -n 1)" ] || fail "$1 is no image: no build.prop in it"

work=$(mktemp -d) || fail "no temporary folder"
trap 'rm -rf "$work"' EXIT
findings=$work/findings
errors=$work/errors

# add WHAT: one finding for each path that comes in
add() {
  while IFS= read -r path; do printf '%s: %s\n' "$path" "$1"; done >>"$findings"
}
# look ARGUMENTS...: find(1); what it cannot read is kept
look() { find . "$@" 2>>"$errors"; }

# Names: the program, its configuration, init files and policy, links to them, the libraries, the sound player, the
# records.
look \( -lname '*vx-kro-amt*' -o -name 'vx-kro-amt*' -o -name 'vx_kro_amt*' -o -name libhwt.so -o -name 'amt.*.misc.so' -o -name amt-audio \
  -o -name BT_Address.txt -o -name power_usb_amt.txt \) | add "its name"
# The root's folder on which the records' partition is mounted; the mount, and who makes or labels it.
for folder in amt */amt; do
  [ ! -d "$folder" ] || printf './%s\n' "$folder"
done | add "folder of the records"
look -type f \( -name 'fstab*' -o -name '*.rc' -o -name '*_contexts' \) \
  -exec grep -lE '(^|[[:space:]])/amt([/([:space:]]|$)' {} + | add "names the folder of the records"

# Marks within any file: the program's name, its functions, what it says to a PC and to a modem, its properties, its type
# in a policy, text or compiled, the operations of its libraries, its records. A program that was stripped and given
# another name keeps them.
cat >"$work/marks" <<'MARKS'
vx-kro-amt
vx_kro_amt
amt_handle_
AT^DAMTOFF
AT^DBTADDR
amt.normal.amt.switch_status
sys.vx.amt.failure.handshake
vx.amt.insertion
vx-kro-mla0
hwt_btCtrl
amt_usb_charger_enable
/amt/imei
MARKS
# Names end in NUL here: one may have a line feed in it.
look -type f -exec grep -lZF -f "$work/marks" {} + >"$work/marked"
while IFS= read -r mark; do
  xargs -0 -r grep -lZF -e "$mark" <"$work/marked" 2>>"$errors" | tr '\n\0' '?\n' | add "holds \"$mark\""
done <"$work/marks"

# By their first bytes: gzip; then zip, xz, zstd, lz4 (two forms), bzip2, and images: sparse, boot, vendor's boot, squashfs.
cat >"$work/kind" <<'KIND'
for path; do
  case $(od -An -tx1 -N8 "$path" | tr -d ' \n') in
    1f8b*) kind=gzip ;;
    504b0304* | fd377a585a00* | 28b52ffd* | 04224d18* | 02214c18* | 425a68* | \
      3aff26ed* | 414e44524f494421* | 564e4452424f4f54* | 68737173*) kind=packed ;;
    *) continue ;;
  esac
  printf '%s %s\n' "$kind" "$path"
done
KIND
look -type f ! -name '*
*' -exec sh "$work/kind" {} + 2>>"$errors" >"$work/kinds"
sed -n 's/^gzip //p' "$work/kinds" | while IFS= read -r path; do
  gzip -dc <"$path" 2>>"$errors" | grep -qaF -f "$work/marks" && printf '%s\n' "$path"
done | add "holds a mark, packed"
{
  sed -n 's/^packed //p' "$work/kinds"
  look -type f \( -name '*.img' -o -name '*.apex' -o -name '*.capex' -o -name '*.cpio' -o -name '*.lz4' -o -name '*.xz' \
    -o -name '*.zip' -o -name '*.zst' -o -name '*.br' \)
} | sort -u | while IFS= read -r path; do
  case $path in *.apk | *.jar) continue ;; esac
  [ -d "$path.unpacked" ] || printf '%s\n' "$path"
done | add "packed, and not unpacked beside it"
look -name '*
*' | tr '\n' '?' | grep . | add "a line feed in a name: not looked into any further"

if [ -s "$errors" ]; then
  cat "$errors" >&2
  fail "not everything could be read"
fi
if [ -s "$findings" ]; then
  sort "$findings"
  exit 1
fi
echo "nothing of vx-kro-amt is in $1"
echo "not looked into: $(look -type f \( -name '*.apk' -o -name '*.jar' \) | grep -c .) applications"
