#!/usr/bin/env bash
# Boots a virtual machine with simulated cameras and runs the checks in it:
# vm_test.sh WORK_FOLDER KXSIM KXCAM GUEST UEVENT_RELAY
# Ends with 77 where there is no QEMU, busybox, cpio or kernel to be had.
set -euo pipefail
source=$(cd "$(dirname "$0")" && pwd)
work=$1 kxsim=$2 kxcam=$3 guest=$4 relay=$5

for program in qemu-system-x86_64 busybox cpio xz zstd; do
  command -v "$program" >/dev/null || { echo "skipped: there is no $program"; exit 77; }
done
status=0
"$source/kernel.sh" "$work/kernel" || status=$?
[ "$status" -eq 0 ] || exit "$status"
"$source/initramfs.sh" "$work/initramfs.cpio" "$work/kernel" "$source/../../packaging/kxusb.conf" "$source/init" \
  "$kxcam" "$guest" "$relay"

# Sockets have short names only.
run=$(mktemp -d)
kxsim_pid='' machine_pid=''
# shellcheck disable=SC2317 # called at the end
end() {
  for pid in $kxsim_pid $machine_pid; do kill "$pid" 2>/dev/null || true; done
  rm -rf "$run"
}
trap end EXIT

# The cameras of guest.cpp. Those that stream for seconds do so no faster than need be: it is all emulated.
start_kxsim() {
  "$kxsim" serve --directory "$run" --scene numbers \
    --camera 3500,generic,serial=GENERIC-ID-1,fps=10 --camera 0030,serial=HIGH-SPEED-2,fps=30 \
    --camera 392B,serial=LARGE-SIZE-3,fps=0 --camera 369B,serial=TWELVE-BIT-4,fps=0 <"$run/commands" >>"$run/kxsim.log" 2>&1 &
  kxsim_pid=$!
}
mkfifo "$run/commands"
exec 3<>"$run/commands"
start_kxsim
printf 'unplug %d\n' 2 3 4 >&3

# A kernel that checks its timer panics when the emulation gets no time for it.
# shellcheck disable=SC2054 # QEMU's commas
machine=(-accel tcg -M q35 -cpu max -smp 1 -m 1024 -nodefaults -no-user-config -display none -no-reboot
  -kernel "$work/kernel/vmlinux" -initrd "$work/initramfs.cpio"
  -append "console=ttyS0 quiet panic=-1 mitigations=off nokaslr no_timer_check"
  -serial "file:$work/kernel.log" -serial stdio -device qemu-xhci,p2=8,p3=8)
for i in 1 2 3 4; do
  machine+=(-chardev "socket,id=camera$i,path=$run/camera$i.sock,reconnect=1"
    -device "usb-redir,chardev=camera$i")
done
until [ -S "$run/camera4.sock" ]; do
  kill -0 "$kxsim_pid"
  sleep 0.1
done

mkfifo "$run/console"
timeout -k 5 7000 qemu-system-x86_64 "${machine[@]}" </dev/null >"$run/console" 2>&1 &
machine_pid=$!

# What the guest has to say, and what it wants done out here.
while IFS= read -r line; do
  line=${line%$'\r'}
  case $line in
    '@host kill')
      kill -KILL "$kxsim_pid"
      wait "$kxsim_pid" 2>/dev/null || true
      ;;
    '@host start') start_kxsim ;;
    '@host '*) echo "${line#@host }" >&3 ;;
  esac
  echo "$line" | tee -a "$run/guest.log"
done <"$run/console"

failed=0
while IFS= read -r name; do
  grep -qF "@passed $name (" "$run/guest.log" || { echo "not passed: $name"; failed=1; }
done < <("$guest" --list)
grep -q '^@end 0$' "$run/guest.log" || { echo "the guest did not come to its end"; failed=1; }
if [ "$failed" -ne 0 ]; then
  cat "$run/kxsim.log"
  tail -n 100 "$work/kernel.log"
fi
exit "$failed"
