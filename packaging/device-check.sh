#!/bin/sh
# Says what a phone lacks of what vx-kro-amt needs. Runs on the PC that the phone is plugged into, and asks through adb.
#   device-check.sh [-s SERIAL] [--port TTY]
#     -s SERIAL   the phone, when adb sees several
#     --port TTY  also sends one version request on the PC link: the tty under which this PC sees it; needs amt-station
# Run `adb root` first: without root's rights much of the phone cannot be seen.
# Prints a line for each thing that is missing. Exit status: 0 nothing is, 1 something is, 2 no phone or wrong usage.
set -u

usage() {
  echo "usage: device-check.sh [-s SERIAL] [--port TTY]" >&2
  exit 2
}

serial=
port=
while [ $# -gt 0 ]; do
  [ $# -ge 2 ] || usage
  case $1 in
    -s) serial=$2 ;;
    --port) port=$2 ;;
    *) usage ;;
  esac
  shift 2
done

# phone TEXT: runs it in the phone's shell. Old phones end lines with a carriage return.
phone() {
  if [ -n "$serial" ]; then adb -s "$serial" shell "$1"; else adb shell "$1"; fi </dev/null | tr -d '\r'
}

missing=0
miss() {
  echo "missing: $*"
  missing=$((missing + 1))
}

# holds TEST: whether a test holds on the phone. An answer is asked for, because old phones give no exit status.
holds() { [ "$(phone "if $1; then echo yes; else echo no; fi" 2>/dev/null)" = yes ]; }

# need TEST NAME PURPOSE
need() { holds "$1" || miss "$2 ($3)"; }
node() { need "[ -c $1 ]" "node $1" "$2"; }
driver_file() { need "[ -$1 $2 ]" "driver's file $2" "$3"; }

# has_mode FOLDER MODE PURPOSE: the folder is there with that mode
has_mode() {
  if ! holds "[ -d $1 ]"; then
    miss "folder $1 ($3)"
    return
  fi
  mode=$(phone "stat -c %a $1")
  [ "$mode" = "$2" ] || miss "mode $2 of folder $1, which has $mode ($3)"
}

property() {
  value=$(phone "getprop $1")
  [ -n "$value" ] || miss "property $1 ($2)"
}

# label PATH TYPE
label() {
  holds "[ -e $1 ]" || return 0 # said above
  real=$(phone "ls -ldZ $1")
  case $real in
    *":object_r:$2:"*) ;;
    *) miss "label $2 of $1, whose own path is $(phone "readlink -f $1"); it has: ${real:-none}" ;;
  esac
}

[ "$(phone 'echo ready' 2>/dev/null)" = ready ] || {
  echo "no phone: adb shell gives no answer" >&2
  exit 2
}
[ "$(phone 'id -u')" = 0 ] || echo "note: adb is not root on the phone; run adb root, or believe no line below"

config=/system/etc/vx-kro-amt.cfg
settings=$(phone "cat $config 2>/dev/null")
# setting KEY: its value; the last line that has one counts.
setting() {
  printf '%s\n' "$settings" | sed -n "s/^ *$1 *= *\([^ ].*\)/\1/p" | sed 's/ *$//' | tail -n 1
}

# fits KEY VALUE LIMIT: the service cuts what is longer, and opens something else.
fits() {
  [ "${#2}" -le "$3" ] || miss "setting $1 in $config with at most $3 characters"
}

# tty KEY PURPOSE, into $device
tty() {
  device=$(setting "$1")
  fits "$1" "$device" 27
  case $device in
    '') miss "setting $1 in $config ($2)" ;;
    *[!A-Za-z0-9/._-]*)
      miss "a plain path as setting $1 in $config ($2)"
      device=
      ;;
    *) node "$device" "$1: $2" ;;
  esac
}

# programs and files
need '[ -x /system/bin/vx-kro-amt ]' 'program /system/bin/vx-kro-amt' 'the service'
need "/system/bin/vx-kro-amt -h | grep -q Usage" 'a start of /system/bin/vx-kro-amt -h' 'its libraries, and the right to run it'
need "[ -r $config ]" "file $config" 'the configuration'
need '[ -r /system/etc/init/vx-kro-amt.rc ]' 'file /system/etc/init/vx-kro-amt.rc' 'starts the service'
need '[ -x /system/bin/sync ]' 'program /system/bin/sync' 'flushes every record'
need '[ -x /system/bin/amt-audio ]' 'program /system/bin/amt-audio' 'audio test'
for word in chmod chgrp; do
  need "command -v $word >/dev/null" "command $word" 'rights of record folders'
done
sound=$(setting vx.audio.file)
fits vx.audio.file "$sound" 47
case $sound in
  '' | *[!A-Za-z0-9/._-]*) miss "setting vx.audio.file in $config (audio test)" ;;
  *) need "[ -r $sound ]" "file $sound" 'vx.audio.file: audio test' ;;
esac

# nodes
tty vx.tty.pc 'PC link'
pc=$device
tty vx.tty.modem 'modem data'
modem=$device
tty vx.tty.at.mux 'modem AT'
at_mux=$device
app=$(setting vx.tty.app)
[ -n "$app" ] || miss "setting vx.tty.app in $config (application's link)"
fits vx.tty.app "$app" 27
node /dev/ptmx "application's link"
node /dev/graphics/fb0 'mode banner'
node /dev/tty0 'mode banner'
node /dev/video0 'camera tests'
driver_file r /sys/class/android_usb/android0/state 'start on USB insertion'
driver_file w /sys/class/leds/lcd-backlight/brightness 'display test'
driver_file w /sys/class/leds/button-backlight/brightness 'key light test'
driver_file w /sys/class/timed_output/vibrator/enable 'vibrator test'
driver_file r /sys/class/power_supply/battery/voltage_now 'battery voltage'
driver_file r /sys/class/power_supply/battery/temp 'battery temperature'
driver_file w /proc/driver/zelta_battery 'battery converter, requests 224 and 226'

# folders
has_mode /amt 755 'factory records'
need "grep -q ' /amt ' /proc/mounts" 'a file system on /amt' 'records that outlive an update'
has_mode /tmp 1777 "process ids and the application's link"
need '[ -w /data/misc/wifi ]' 'folder /data/misc/wifi' "WiFi driver's text"
need '[ -w /data/local/wifi ]' 'folder /data/local/wifi' 'notes of WiFi and GPS tests'
need '[ -r /system/etc/wifi/nvram.txt ] || [ -r /system/etc/wifi/bcmdhd.cal ]' \
  'file /system/etc/wifi/nvram.txt or bcmdhd.cal' "WiFi driver's text as delivered"

# libraries
case $(phone 'getprop ro.board.platform') in
  *vx5211*) model=vx5211 ;;
  *) model=vx5210 ;;
esac
need "[ -r /system/lib64/hw/amt.$model.misc.so ]" "library /system/lib64/hw/amt.$model.misc.so" 'charge mode, sound, idle'
need '[ -r /system/lib64/libhwt.so ] || [ -r /system/lib/libhwt.so ]' 'library libhwt.so in /system/lib64 or /system/lib' \
  'radio tests; nothing starts without it'

# properties
property ro.board.platform 'name of the board library'
property ro.build.display.id 'software version'
property ro.build.version.incremental 'software version'
property ro.product.manufacturer 'brand in the software version'
case $(phone 'getprop sys.usb.config') in
  *serial*) ;;
  *) miss 'serial in property sys.usb.config (PC link)' ;;
esac

# labels
case $(phone 'getenforce 2>/dev/null') in
  Enforcing | Permissive)
    label /system/bin/vx-kro-amt vx_kro_amt_exec
    label /amt vx_kro_amt_record_file
    label /tmp vx_kro_amt_tmp_file
    label /data/local/wifi vx_kro_amt_data_file
    for device in "$pc" "$modem" "$at_mux"; do
      case $device in
        '' | /dev/ttyS*) ;; # a UART has the platform's own label
        *) label "$device" vx_kro_amt_device ;;
      esac
    done
    label /proc/driver/zelta_battery proc_vx_kro_amt
    label /sys/class/leds/lcd-backlight/brightness sysfs_leds
    label /sys/class/leds/button-backlight/brightness sysfs_leds
    label /sys/class/timed_output/vibrator/enable sysfs_vibrator
    label /sys/class/power_supply/battery/voltage_now sysfs_vx_kro_amt
    label /sys/class/power_supply/battery/temp sysfs_vx_kro_amt
    label /sys/class/android_usb/android0/state sysfs_android_usb
    ;;
  *) echo "note: the phone has no SELinux; labels were not checked" ;;
esac

if [ -n "$port" ]; then
  if version=$(amt-station --port "$port" version whole 2>&1); then
    echo "version request on $port: $(printf '%s\n' "$version" | tail -n 1)"
  else
    miss "an answer to a version request on $port: $(printf '%s\n' "$version" | tail -n 1)"
  fi
fi

if [ "$missing" -eq 0 ]; then
  echo "nothing is missing"
else
  echo "$missing missing"
  exit 1
fi
