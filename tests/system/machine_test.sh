#!/bin/bash
# machine_test.sh PACKAGE [--suspend] [--no-permission] [--upgrade-from OLD]: installs the package on this machine, and
# has new users use it for about nine minutes. Skips what the machine cannot do. Needs root. At the end it removes the
# users and the package; it refuses to start if any of them is there already.
#   --suspend           also suspends the machine, four times, and has it wake by itself: 26 minutes more
#   --no-permission     does not give the user the right to wake the machine; before systemd 254
#   --upgrade-from OLD  installs the package OLD first, and upgrades it when it has set its wake event
set -u
unset TZ  # the user's systemd knows only the machine's zone
package=$(realpath "$1")
suspend='' no_permission='' old=''
while shift && [ $# -gt 0 ]; do
  case $1 in
    --suspend) suspend=yes ;;
    --no-permission) no_permission=yes ;;
    --upgrade-from) shift; old=$(realpath "$1") ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done
cd "$(dirname "$(realpath "$0")")/../.." || exit
user=ztprobe
others=(ztprobe2 ztprobe3)  # the first enables the timer as well, but has no application; the second does not
masked=/etc/systemd/system/user@.service.d/ztbackupbytime.conf
version=0  # of systemd; 0 without it
[ ! -d /run/systemd/system ] || version=$(systemctl --version | sed -n '1s/^systemd \([0-9]*\).*/\1/p')

# Checks
passed=0 failed=0 skipped=0
check() {  # check WHAT COMMAND...: the command succeeds, or says why it does not
  local what=$1 output
  shift
  if output=$("$@" 2>&1); then
    passed=$((passed + 1)); echo "ok: $what"
  else
    failed=$((failed + 1)); echo "NOT OK: $what: $*"; [ -z "$output" ] || echo "  | ${output//$'\n'/$'\n'  | }"
  fi
}
skip() { skipped=$((skipped + 1)); echo "skipped: $1"; }
finish() { echo "$passed passed, $failed failed, $skipped skipped"; [ "$failed" = 0 ]; exit; }
same() { [ "$1" = "$2" ] || { printf 'expected: %s\nfound:    %s\n' "$1" "$2"; return 1; }; }
within() {  # within LEAST NUMBER MOST
  [[ $2 =~ ^[0-9]+$ ]] && (($1 <= $2 && $2 <= $3)) || { echo "'$2' is not from $1 to $3"; return 1; }
}
wait_for() {  # wait_for SECONDS COMMAND...: until the command succeeds
  local end=$((SECONDS + $1))
  until "${@:2}" > /dev/null 2>&1; do [ "$SECONDS" -lt "$end" ] || return 1; sleep 0.2; done
}

# Times, in seconds since 1970
minute_after() { echo $((($(date +%s) / 60 + $1) * 60)); }
wait_until() { while [ "$(date +%s)" -lt "$1" ]; do sleep 0.2; done; }
wait_for_first_seconds() { while [ "$(date +%-S)" -ge 40 ]; do sleep 1; done; }  # of a minute

# The user
as() {  # as USER COMMAND...
  runuser -u "$1" -- env -i HOME="/home/$1" PATH="$PATH" XDG_RUNTIME_DIR="/run/user/$(id -u "$1")" LC_ALL=C.UTF-8 "${@:2}"
}
as_user() { as "$user" "$@"; }
systemd() { as_user systemctl --user "$@"; }
line() {  # line INSTANT URL: a crontab line for each week
  printf '%s\t*\t*\t%s\tZTUtil %s\n' "$(date -d "@$1" '+%-M	%-H')" "$(date -d "@$1" +%w)" "$2"
}
service() { systemd show --value --property "$1" ztbackupbytime.service; }  # service PROPERTY
state() { service ActiveState; }
runs() { [ "$(state)" = activating ]; }
rests() { [ "$(state)" = inactive ]; }
last_start() { service InactiveExitTimestampMonotonic; }  # of a run, in microseconds
last_end() { service InactiveEnterTimestampMonotonic; }
starts_after() { [ "$(last_start)" -gt "$1" ]; }
set_timer() {  # set_timer UNIT [PROPERTY]: for tomorrow
  as_user systemd-run --user --quiet --collect --unit="$1" --on-calendar="@$(minute_after 1440)" \
    --timer-property=CollectMode=inactive-or-failed ${2:+"--timer-property=$2"} true
}
wake_soon() { as_user ZTAgent wake "$(date -d '3 seconds' '+%-m/%-d/%Y %-H:%-M:%-S')"; }
events() { as_user ZTAgent sched 2>&1; }
event_at() { date -d "@$1" "+[0] wake at %m/%d/%Y %T by 'ZTAgent'"; }
only_event_is_at() { same "$(event_at "$1")" "$(events)"; }
entries() {  # entries OUTPUT [OPTION OF JOURNALCTL...]
  journalctl --sync  # a file to which journald is writing can be ignored as truncated
  as_user journalctl --user --unit ztbackupbytime --no-pager --output "$@"
}
entry_has() {  # entry_has TEXT...: one entry of the journal has all texts in its JSON form
  local found text
  found=$(entries json)
  for text; do found=$(grep -F -- "$text" <<< "$found") || { echo "no $text"; return 1; }; done
}
pauses() {  # from the end of each run to the start of the next one, in seconds
  entries short-unix | awk '/Looking for Zantrove!/ && end { print int($1 - end) } /Heading out/ { end = $1 }'
}
has_inhibitor() {
  systemd-inhibit --list --no-legend --no-pager |
    grep -q "^ztbackupbytime Prompt Wake *$uid *$user .* idle  *Zantrove! time-based scheduled copy check. *block"
}
inhibitor_appears() { wait_for 5 has_inhibitor || { entries cat | grep createdAssertion; return 1; }; }
# The journal, and what the user's systemd has in its environment, are the machine's.
problems() { as_user ztschedules --doctor | sed -n 's/  *problem  .*//p' | grep -vx 'environment\|journal'; }
starts() { sed -n "s|^start $1 ||p" "$home/copies" | xargs; }
starts_once_at() { within "$1" "$(starts "$2")" $(($1 + 59)); }  # starts_once_at INSTANT URL

refuse() { echo "$0: $1" >&2; exit 2; }
! id -- "$user" "${others[@]}" 2>&1 | grep -q ^uid || refuse "there is a user $user, or one of ${others[*]}, already"
! dpkg-query -W ztbackupbytime > /dev/null 2>&1 || refuse "ztbackupbytime is installed already: remove it first"
[ ! "$no_permission" ] || [ ! -e "$masked" ] || refuse "$masked is there already"
[ ! "$no_permission" ] || [ "$version" -lt 254 ] || refuse "since systemd 254 users may always wake the machine"
leave_nothing() {
  for user in "$user" "${others[@]}"; do
    loginctl disable-linger "$user"
    systemctl stop "user@$(id -u "$user").service"
    pkill -KILL -u "$user"
    crontab -r -u "$user"
    userdel --remove "$user"
  done
  [ ! "$no_permission" ] || { rm -f "$masked"; rmdir "${masked%/*}"; }
  dpkg --purge ztbackupbytime
} > /dev/null 2>&1
trap leave_nothing EXIT

# Installation
if [ "$version" != 0 ]; then
  echo "This is systemd $version."
  for name in "$user" "${others[@]}"; do
    useradd --create-home --home-dir "/home/$name" --shell /bin/bash "$name" || exit
    loginctl enable-linger "$name"
  done
  uid=$(id -u "$user") home=/home/$user
  check "a user's systemd runs" wait_for 60 systemctl is-active "user@$uid.service"
  [ ! "$no_permission" ] || { mkdir -p "${masked%/*}" && ln -s /dev/null "$masked"; }
fi
check "the package is installed" apt-get install -qq --no-install-recommends "${old:-$package}"
[ "$failed" = 0 ] || finish
start_as_nobody() { setpriv --reuid=65534 --regid=65534 --clear-groups env HOME=/nonexistent timeout 20 ztbackupbytime; }
check "the tool starts" within 0 "$(start_as_nobody > /dev/null 2>&1; echo $?)" 1
check "the agent prints its usage" grep -q '^usage: ZTAgent wake' <(ZTAgent --help)
check "systemd accepts the units" same "" "$({
  XDG_RUNTIME_DIR=/run systemd-analyze verify --man=no --user ztbackupbytime.timer || echo ztbackupbytime
  systemd-analyze verify --man=no user@1.service
} 2>&1 | grep ztbackupbytime)"
[ "$version" != 0 ] || { skip "timer, journal, inhibitor, waking: systemd does not run this machine"; finish; }
[ "$no_permission" ] || check "systemd has read the drop-in" \
  grep -q user@.service.d/ztbackupbytime.conf <(systemctl show --value --property DropInPaths "user@$uid.service")
for name in "$user" "${others[@]}"; do systemctl restart "user@$(id -u "$name").service"; done
check "the user's systemd runs" wait_for 60 systemd is-active default.target

# Without the application, then with one whose controller takes three minutes for a copy
systemd start ztbackupbytime.service 2> /dev/null
check "without an application the journal has the error" wait_for 5 \
  entry_has "\"MESSAGE\":\"Couldn't find Zantrove! application\"" '"PRIORITY":"3"'
contents=$home/Applications/Zantrove.app/Contents
mkdir "$home/Applications"
cp -R demo/Zantrove.app "$home/Applications/"
ln -sf /usr/bin/ZTAgent "$contents/MacOS/ZTAgent"
cat > "$contents/Helpers/ztautomatedcopycontroller" <<'TEXT'
#!/bin/bash
trap 'sleep 2; echo "finish $1" >> ~/copies; exit' TERM
echo "start $1 $(date +%s)" >> ~/copies
sleep 180 & wait
echo "end $1 $(date +%s)" >> ~/copies
TEXT
chown -R "$user:" "$home/Applications"

can_wake=yes
set_timer probe WakeSystem=yes || can_wake=''
systemd stop probe.timer 2> /dev/null
if [ "$no_permission" ]; then
  check "without the drop-in no timer wakes the machine" same "" "$can_wake"
elif compgen -G '/sys/class/rtc/*/wakealarm' > /dev/null; then
  check "timers of the user can wake the machine" same yes "$can_wake"
fi
set_timer foreign
set_timer ZTAgent-foreign

# Two copies in successive minutes
wait_for_first_seconds
one=$(minute_after 2) two=$(minute_after 3) tomorrow=$(minute_after 1450)
{ line "$one" file:///one; line "$two" file:///two; line "$tomorrow" file:///three; } | crontab -u "$user" -
check "ztschedules shows the copies to come" same "$one $two $tomorrow" \
  "$(as_user ztschedules --json | sed -n 's/^ *"next": \([0-9]*\),$/\1/p' | xargs)"
# Starts polkit, which takes more than the tool's two seconds on an emulated machine.
as_user systemd-inhibit --what=idle true
systemd --quiet enable --now ztbackupbytime.timer
check "the timer starts the tool at once" wait_for 5 runs
check "during the run logind lists the inhibitor" inhibitor_appears
wait_for 30 rests
check "after the run the inhibitor is gone" same no "$(has_inhibitor && echo yes || echo no)"
if [ "$can_wake" ]; then
  check "a wake event is set for the first copy" only_event_is_at "$one"
else
  skip "wake events: no timer of this user can wake this machine"
  check "the journal has the reason" entry_has '"CATEGORY":"ZTAgent"' "could not arm the timer"
  [ ! "$no_permission" ] ||
    check "the journal has the remedy" entry_has CAP_WAKE_ALARM "systemctl restart user@$uid.service"
fi
if [ "$old" ]; then
  start=$(last_start)
  check "the package is upgraded" apt-get install -qq "$package"
  sleep 2
  check "the upgrade started no run" same "$start inactive active" \
    "$(last_start) $(state) $(systemd is-active ztbackupbytime.timer)"
  [ ! "$can_wake" ] || check "the wake event of the old package remains" only_event_is_at "$one"
fi

echo "The copies are due at $(date -d "@$one" +%T) and $(date -d "@$two" +%T)."
wait_until $((two + 5))
check "the first copy started once, in its minute" starts_once_at "$one" file:///one
check "the second copy started once, in its minute" starts_once_at "$two" file:///two
check "the run ends" wait_for 30 rests
check "both controllers are still running" same 2 "$(pgrep -u "$user" -fc "^/bin/bash $contents/Helpers/")"
check "systemd lists both as scopes" same "Copy of one Copy of two" \
  "$(systemd list-units --plain --no-legend 'ztbackupbytime-copy-*.scope' | grep -o 'Copy of .*' | sort | xargs)"
history() { journalctl --sync; as_user ztschedules --history --all --json; }
check "the history has both copies" same "started started" "$(history | sed -n 's/^ *"result": "\(.*\)",$/\1/p' | xargs)"
lacks=
[ "$can_wake" ] || ! compgen -G '/sys/class/rtc/*/wakealarm' > /dev/null || lacks="right to wake"
check "ztschedules --doctor finds nothing else missing" same "$lacks" "$(problems)"
[ ! "$can_wake" ] || check "the wake event is replaced by tomorrow's" only_event_is_at "$tomorrow"

# In the minute of the second copy a further run would start it again.
start=$(last_start) end=$(last_end)
check "the package is installed again" dpkg --install "$package"
check "the user's systemd reloads" systemd daemon-reload
# Before systemd 254 it would lose the right to wake the machine with that.
[ "$can_wake" ] && [ "$version" -lt 254 ] || check "it executes itself anew" systemd daemon-reexec
check "it enables another unit" systemd enable systemd-tmpfiles-clean.timer
check "it disables that unit again" systemd disable systemd-tmpfiles-clean.timer
sleep 1
check "none of this started a run" same "$start inactive" "$(last_start) $(state)"
[ ! "$can_wake" ] || check "tomorrow's wake event remains" only_event_is_at "$tomorrow"
line $((tomorrow + 60)) file:///three | crontab -u "$user" -
[ ! "$can_wake" ] || check "a change of the crontab replaces the wake event" \
  wait_for 90 only_event_is_at $((tomorrow + 60))
check "the timer goes on" wait_for 70 starts_after "$end"
check "it starts the next run a minute after the last one ended" within 58 $((($(last_start) - end) / 1000000)) 63
wait_until $((two + 190))
check "both copies ended three minutes later, and no other started" same \
  "end file:///one end file:///two start file:///one start file:///two" \
  "$(sed 's/ [0-9]*$//' "$home/copies" | sort | xargs)"
if [ "$can_wake" ]; then
  wait_for 90 runs; wait_for 30 rests  # the periodic timer is a minute away now
  wake_soon
  check "a wake event starts the tool" wait_for 8 runs
  wait_for 30 rests
  check "that wake event is replaced by tomorrow's" only_event_is_at $((tomorrow + 60))
fi
for name in "${others[@]}"; do line "$tomorrow" file:///four | crontab -u "$name" -; done
as "${others[0]}" systemctl --user --quiet enable --now ztbackupbytime.timer
systemctl start ztbackupbytime-before-sleep.service
check "before sleep only users of the timer get a wake event" \
  same "${can_wake:+$(event_at "$tomorrow")}" "$(for name in "${others[@]}"; do as "$name" ZTAgent sched; done)"
for message in "Found 1 matching schedules." "Power asssertion created - createdAssertion = 0"; do
  check "the journal has \"$message\"" entry_has "\"MESSAGE\":\"$message\"" '"PRIORITY":"6"' \
    '"SUBSYSTEM":"com.velmorra.Zantrove.Helpers"' '"CATEGORY":"ztbackupbytime"' '"SYSLOG_IDENTIFIER":"ztbackupbytime"' \
    '"_SYSTEMD_USER_UNIT":"ztbackupbytime.service"'
done
check "no process is reported as left over" same 0 "$(entries cat | grep -c left-over)"
check "there were at least three pauses between runs" within 3 "$(pauses | wc -l)" 20
check "the longest was a minute" within 58 "$(pauses | sort -n | tail -n 1)" 63

# Suspended
sleeps() { cat /sys/power/suspend_stats/success; }
has_slept() { [ "$(sleeps)" -gt "$slept_before" ]; }
last_entry() { entries cat --lines 1 | grep -q "$1"; }
waits() { last_entry "setting wake" && only_event_is_at "$due"; }
stays() { last_entry "Sleeping for" && same "" "$(events)"; }
go_to_sleep() {  # go_to_sleep rests|waits|stays|changed: between two runs, in one that has set the event and waits for
                 # its end, in one that stays for the minute of the copy, or when the crontab has just been changed
  wait_for_first_seconds
  due=$(minute_after 4) after=$(minute_after 6)
  local crontab first=$due
  crontab=$(line "$due" "file:///asleep/$1"; line "$after" "file:///after/$1")
  [ "$1" != changed ] || first=$after
  tail -n +$((first == due ? 1 : 2)) <<< "$crontab" | crontab -u "$user" -
  if [ "$can_wake" ]; then
    check "the wake event is set" wait_for 90 only_event_is_at "$first"
  else
    wait_for 90 runs
    echo $((due + 75)) > /sys/class/rtc/rtc0/wakealarm  # somebody wakes it, too late for the copy
  fi
  case $1 in
    rests | waits) wait_for 90 "$1" ;;
    stays)
      wait_until $((due - 50))
      systemd --no-block start ztbackupbytime.service
      check "a run stays for the copy, and has set no wake event" wait_for 15 stays
      ;;
    changed)
      wait_for 90 runs; wait_for 30 rests  # the next run is a minute away now
      crontab -u "$user" - <<< "$crontab"
      ;;
  esac
  echo "Going to sleep at $(date +%T): $1. A copy is due at $(date -d "@$due" +%T)."
  slept_before=$(sleeps)
  systemctl suspend
  check "the machine slept and is awake again" wait_for 400 has_slept
  echo "Awake at $(date +%T)."
  if [ "$can_wake" ]; then
    wait_until $((due + 45))
    check "the copy started once, in its minute" starts_once_at "$due" "file:///asleep/$1"
    check "the wake event started it" within "$due" "$(starts "file:///asleep/$1")" $((due + 30))
  else
    check "nothing woke the machine for the copy: it did not start" same "" "$(starts "file:///asleep/$1")"
    check "the history knows why" grep -q '"reason": "asleep' <(history)
  fi
  wait_until $((after + 30))
  check "the next copy started once, in its minute" starts_once_at "$after" "file:///after/$1"
}
if [ ! "$suspend" ]; then
  skip "suspend: not asked for (--suspend)"
elif ! grep -qw mem /sys/power/state; then
  skip "suspend: this machine cannot"
else
  for when in rests ${can_wake:+waits stays changed}; do go_to_sleep "$when"; done
fi

# Without the timer
systemd --no-block start ztbackupbytime.service
wait_for 5 runs && sleep 2
systemd --quiet disable --now ztbackupbytime.timer
check "timers of others remain" same "active active" "$(systemd is-active foreign.timer ZTAgent-foreign.timer | xargs)"
check "stopping the timer cancels the wake event" same "" "$(events)"
wait_for 30 rests
check "without the timer no wake event can be set" grep -q "timer is not active" <(wake_soon 2>&1)

# A copy when the user's systemd ends
wait_for_first_seconds
line "$(date +%s)" file:///last | crontab -u "$user" -
systemd --no-block start ztbackupbytime.service
wait_for 15 grep -q file:///last "$home/copies" && sleep 2
systemctl stop "user@$uid.service"
check "a copy gets SIGTERM and time to finish" grep -q "finish file:///last" "$home/copies"
systemctl start "user@$uid.service"
wait_for 60 systemd is-active default.target

# Without the package
ends() { entries cat | grep -c "Heading out"; }
ends_after() { [ "$(ends)" -gt "$1" ]; }
systemctl --quiet --global enable ztbackupbytime.timer
systemd --quiet enable --now ztbackupbytime.timer
as "${others[1]}" systemctl --user --quiet enable ztbackupbytime.timer
loginctl disable-linger "${others[1]}"
systemctl stop "user@$(id -u "${others[1]}").service"
wait_for 5 runs && sleep 2
before=$(ends)
check "the package is removed" dpkg --purge ztbackupbytime
check "the run in progress finishes" wait_for 15 ends_after "$before"
remaining() {
  for name in "$user" "${others[0]}"; do
    as "$name" systemctl --user list-units --all --plain --no-legend 'ztbackupbytime*.[!s]*' ztbackupbytime.service
  done
}
nothing_remains() { [ ! "$(remaining)" ]; }
wait_for 20 nothing_remains  # systemd forgets a unit a moment after its end
check "no timer, wake event or failed run remains" same "" "$(remaining)"
check "no link remains" same "" \
  "$(find "$home" "${others[@]/#//home/}" /etc/systemd/user /usr/lib/systemd -name 'ztbackupbytime*')"
before=$(entries cat | wc -l)
sleep 65
check "nothing runs any more" same "$before" "$(entries cat | wc -l)"
finish
