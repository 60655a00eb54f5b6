#!/bin/bash
# machine_test.sh PACKAGE [--suspend] [--no-permission]: installs the package on this machine and lets a user made
# for the purpose live with it for about seven minutes. What this machine cannot do is skipped, with the reason. Needs
# root. User and package go at the end; it refuses to begin where they are there already.
#   --suspend        suspends the machine as well, twice, and has it wake by itself: 14 minutes more
#   --no-permission  keeps the right to wake the machine from the user; before systemd 254
set -u
unset TZ  # the user's systemd knows only the machine's zone
cd "$(dirname "$(realpath "$0")")/../.." || exit

package=$1
shift
suspend='' no_permission=''
for option; do
  case $option in
    --suspend) suspend=yes ;;
    --no-permission) no_permission=yes ;;
    *) echo "unknown option $option" >&2; exit 2 ;;
  esac
done

good=0 bad=0 skipped=0
check() {  # check WHAT COMMAND...: what the command says has to be so
  local what=$1 output
  shift
  if output=$("$@" 2>&1); then
    good=$((good + 1)); echo "ok: $what"
  else
    bad=$((bad + 1)); echo "NOT OK: $what: $*"; [ -z "$output" ] || echo "  | ${output//$'\n'/$'\n'  | }"
  fi
}
skip() {
  skipped=$((skipped + 1)); echo "skipped: $1"
}
finish() {
  echo "$good passed, $bad failed, $skipped skipped"
  [ "$bad" = 0 ]
  exit
}
same() { [ "$1" = "$2" ] || { printf 'expected: %s\nfound:    %s\n' "$1" "$2"; return 1; }; }
within() { (($1 <= $2 && $2 <= $3)) || { echo "$2 is not from $1 to $3"; return 1; }; }
wait_for() {  # wait_for SECONDS COMMAND...
  local end=$((SECONDS + $1))
  shift
  until "$@" > /dev/null 2>&1; do [ "$SECONDS" -lt "$end" ] || return 1; sleep 0.2; done
}

user=ztprobe
masked=/etc/systemd/system/user@.service.d/ztbackupbytime.conf
has_systemd='' version=0
if [ -d /run/systemd/system ]; then
  has_systemd=yes
  version=$(systemctl --version | sed -n '1s/^systemd \([0-9]*\).*/\1/p')
fi

refuse() { echo "$0: $1" >&2; exit 2; }
! id "$user" > /dev/null 2>&1 || refuse "there is a user $user already"
! dpkg-query -W ztbackupbytime > /dev/null 2>&1 || refuse "ztbackupbytime is installed already: remove it first"
[ ! "$no_permission" ] || [ ! -e "$masked" ] || refuse "$masked is there already"
[ ! "$no_permission" ] || [ "$version" -lt 254 ] || refuse "since systemd 254 users may always wake the machine"
leave_nothing() {
  if [ "$has_systemd" ]; then
    loginctl disable-linger "$user"
    systemctl stop "user@$(id -u "$user").service"
    pkill -KILL -u "$user"
    crontab -r -u "$user"
    userdel --remove "$user"
  fi
  [ ! "$no_permission" ] || { rm -f "$masked"; rmdir "${masked%/*}"; }
  dpkg --purge ztbackupbytime
} > /dev/null 2>&1

# The user
trap leave_nothing EXIT
if [ "$has_systemd" ]; then
  echo "This is systemd $version."
  useradd --create-home --shell /bin/bash "$user" || exit
  uid=$(id -u "$user")
  home=$(getent passwd "$user" | cut -d: -f6)
  loginctl enable-linger "$user"
  check "a user's systemd runs" wait_for 60 systemctl is-active "user@$uid.service"
  if [ "$no_permission" ]; then mkdir -p "${masked%/*}" && ln -s /dev/null "$masked"; fi
fi

# Installing
check "the package is installed" apt-get install -qq --no-install-recommends "$(realpath "$package")"
[ "$bad" = 0 ] || finish
start_as_nobody() { setpriv --reuid=65534 --regid=65534 --clear-groups env HOME=/nonexistent timeout 20 ztbackupbytime; }
check "the tool starts" within 0 "$(start_as_nobody > /dev/null 2>&1; echo $?)" 1
check "the agent explains itself" grep -q '^usage: ZTAgent wake' <(ZTAgent --help)
check "the units are sound" same "" "$({
  XDG_RUNTIME_DIR=/run systemd-analyze verify --man=no --user ztbackupbytime.timer || echo ztbackupbytime
  systemd-analyze verify --man=no user@1.service
} 2>&1 | grep ztbackupbytime)"
if [ ! "$has_systemd" ]; then
  skip "timer, journal, inhibitor, waking: systemd does not run this machine"
  finish
fi
drop_ins() { systemctl show --value --property DropInPaths "user@$uid.service"; }
[ "$no_permission" ] ||
  check "systemd has read the drop-in" grep -q user@.service.d/ztbackupbytime.conf <(drop_ins)
systemctl restart "user@$uid.service"

# Living with it
as_user() {
  runuser -u "$user" -- env -i HOME="$home" PATH="$PATH" XDG_RUNTIME_DIR="/run/user/$uid" LC_ALL=C.UTF-8 "$@"
}
check "the user's systemd runs" wait_for 60 as_user systemctl --user is-active default.target
entries() { as_user journalctl --user --unit ztbackupbytime --no-pager --output "$@"; }
entry_has() {  # entry_has TEXT...: an entry of the journal has all of them in its JSON form
  local found text
  found=$(entries json)
  for text; do found=$(grep -F -- "$text" <<< "$found") || { echo "no $text"; return 1; }; done
}
as_user systemctl --user start ztbackupbytime.service 2> /dev/null
check "without an application the journal says so" wait_for 5 \
  entry_has "\"MESSAGE\":\"Couldn't find Zantrove! application\"" '"PRIORITY":"3"'
as_user mkdir -p "$home/Applications"
cp -R demo/Zantrove.app "$home/Applications/"
contents=$home/Applications/Zantrove.app/Contents
ln -sf /usr/bin/ZTAgent "$contents/MacOS/ZTAgent"
# This controller takes three minutes for a copy.
cat > "$contents/Helpers/ztautomatedcopycontroller" <<'TEXT'
#!/bin/bash
echo "start $1 $(date +%s)" >> ~/copies
sleep 180
echo "end $1 $(date +%s)" >> ~/copies
TEXT
chown -R "$user:" "$home/Applications"

entry() {  # entry INSTANT WORD
  printf '%s\t*\t*\t%s\tZTUtil %s\n' "$(date -d "@$1" '+%-M	%-H')" "$(date -d "@$1" +%w)" "$2"
}
minute_after() { echo $((($(date +%s) / 60 + $1) * 60)); }
sleep_until() { sleep $(($1 > $(date +%s) ? $1 - $(date +%s) : 0)); }
starts() { sed -n "s|^start $1 ||p" "$home/copies"; }
starts_once_at() {  # starts_once_at INSTANT WORD
  same 1 "$(starts "$2" | wc -l)" && within "$1" "$(starts "$2")" $(($1 + 59))
}
controllers() { pgrep -u "$user" -fc "^/bin/bash $contents/Helpers/"; }
state() { as_user systemctl --user show --value --property ActiveState ztbackupbytime.service; }
runs() { [ "$(state)" = activating ]; }
rests() { [ "$(state)" = inactive ]; }
has_inhibitor() {
  systemd-inhibit --list --no-legend --no-pager |
    grep -q "^ztbackupbytime Prompt Wake *$uid *$user .* idle  *Zantrove! time-based scheduled copy check. *block"
}
inhibitor_appears() { wait_for 5 has_inhibitor || { entries cat | grep createdAssertion; return 1; }; }
events() { as_user ZTAgent sched 2>&1; }
only_event_is_at() {
  local line
  line="[0] wake at $(date -d "@$1" '+%m/%d/%Y %T') by 'ZTAgent'"
  same "$line" "$(events)"
}
set_timer() {  # set_timer UNIT [PROPERTY]: a timer for tomorrow
  as_user systemd-run --user --quiet --collect --unit="$1" --on-calendar="@$(minute_after 1440)" \
    --timer-property=CollectMode=inactive-or-failed ${2:+"--timer-property=$2"} true
}
# How long after the end of one run the next one began, in seconds, one line each.
pauses() {
  entries short-unix | awk '/Looking for Zantrove!/ && end { print int($1 - end) } /Heading out/ { end = $1 }'
}

can_wake=yes
set_timer probe WakeSystem=yes || can_wake=''
as_user systemctl --user stop probe.timer 2> /dev/null
if [ "$no_permission" ]; then
  check "without the drop-in no timer wakes the machine" same "" "$can_wake"
elif compgen -G '/sys/class/rtc/*/wakealarm' > /dev/null; then
  check "timers of the user can wake the machine" same yes "$can_wake"
fi
set_timer foreign
set_timer ZTAgent-foreign

# Two schedules in two minutes that follow one another
while [ "$(date +%-S)" -ge 40 ]; do sleep 1; done
one=$(minute_after 2) two=$(minute_after 3) tomorrow=$(minute_after 1450)
{ entry "$one" file:///one; entry "$two" file:///two; entry "$tomorrow" file:///three; } | crontab -u "$user" -
check "ztschedules shows the copies to come" same "$one $two $tomorrow" \
  "$(as_user ztschedules --json | sed -n 's/^ *"next": \([0-9]*\),$/\1/p' | xargs)"
# Asked for the first time, polkit is started, which takes more than the tool's two seconds on an emulated machine.
as_user systemd-inhibit --what=idle true
as_user systemctl --user --quiet enable --now ztbackupbytime.timer
check "the timer starts the tool at once" wait_for 5 runs
check "during the run logind lists the inhibitor" inhibitor_appears
wait_for 30 rests
check "it goes with the run" same no "$(has_inhibitor && echo yes || echo no)"
if [ "$can_wake" ]; then
  check "a wake event is set for the first copy" only_event_is_at "$one"
else
  skip "wake events: no timer of this user can wake this machine"
  check "the journal says so" entry_has '"CATEGORY":"ZTAgent"' '"PRIORITY":"3"' "could not arm the timer"
  [ ! "$no_permission" ] || check "and what to do" entry_has CAP_WAKE_ALARM "systemctl restart user@$uid.service"
fi

echo "The copies are due at $(date -d "@$one" +%T) and $(date -d "@$two" +%T)."
sleep_until $((two + 5))
check "the first copy started once, in its minute" starts_once_at "$one" file:///one
check "the second copy started once, in its minute" starts_once_at "$two" file:///two
check "the run ends" wait_for 30 rests
check "both controllers live on" same 2 "$(controllers)"
[ ! "$can_wake" ] || check "the wake event is replaced by tomorrow's" only_event_is_at "$tomorrow"
entry $((tomorrow + 60)) file:///three | crontab -u "$user" -
[ ! "$can_wake" ] || check "a change of the crontab replaces it" wait_for 90 only_event_is_at $((tomorrow + 60))
sleep_until $((two + 190))
check "both copies ended three minutes later, and no other started" same \
  "end file:///one end file:///two start file:///one start file:///two" \
  "$(sed 's/ [0-9]*$//' "$home/copies" | sort | xargs)"
if [ "$can_wake" ]; then
  wait_for 90 runs; wait_for 30 rests  # the periodic timer is a minute away now
  as_user ZTAgent wake "$(date -d '3 seconds' '+%-m/%-d/%Y %-H:%-M:%-S')"
  check "a wake event starts the tool" wait_for 8 runs
  wait_for 30 rests
  check "and gives way to tomorrow's" only_event_is_at $((tomorrow + 60))
fi

for message in "Found 1 matching schedules." "Power asssertion created - createdAssertion = 0"; do
  check "the journal has \"$message\"" entry_has "\"MESSAGE\":\"$message\"" '"PRIORITY":"6"' \
    '"SUBSYSTEM":"com.velmorra.Zantrove.Helpers"' '"CATEGORY":"ztbackupbytime"' '"SYSLOG_IDENTIFIER":"ztbackupbytime"' \
    '"_SYSTEMD_USER_UNIT":"ztbackupbytime.service"'
done
check "there were at least three pauses between runs" within 3 "$(pauses | wc -l)" 20
check "the longest was a minute" within 58 "$(pauses | sort -n | tail -n 1)" 63

# Asleep
sleeps() { cat /sys/power/suspend_stats/success; }
has_slept() { [ "$(sleeps)" -gt "$slept_before" ]; }
waits() { entries cat --lines 1 | grep -q "setting wake" && only_event_is_at "$due"; }
go_to_sleep() {  # go_to_sleep rests|waits: between two runs, or in one that has set the event and waits for its end
  while [ "$(date +%-S)" -ge 40 ]; do sleep 1; done
  due=$(minute_after 4) after=$(minute_after 7)
  { entry "$due" "file:///asleep/$1"; entry "$after" "file:///after/$1"; } | crontab -u "$user" -
  if [ "$can_wake" ]; then
    check "the wake event is set" wait_for 90 only_event_is_at "$due"
  else
    wait_for 90 runs
    echo $((due + 75)) > /sys/class/rtc/rtc0/wakealarm  # somebody opens the lid, too late
  fi
  wait_for 90 "$1"
  echo "Going to sleep at $(date +%T). A copy is due at $(date -d "@$due" +%T)."
  slept_before=$(sleeps)
  systemctl suspend
  check "the machine slept and is awake again" wait_for 400 has_slept
  echo "Awake at $(date +%T)."
  if [ "$can_wake" ]; then
    sleep_until $((due + 45))
    check "the copy started once, in its minute" starts_once_at "$due" "file:///asleep/$1"
    check "it was the wake event that started it" within "$due" "$(starts "file:///asleep/$1")" $((due + 30))
  else
    check "nothing woke the machine for the copy: it did not start" same "" "$(starts "file:///asleep/$1")"
  fi
  sleep_until $((after + 30))
  check "the next copy started once, in its minute" starts_once_at "$after" "file:///after/$1"
}
if [ ! "$suspend" ]; then
  skip "suspend: not asked for (--suspend)"
elif ! grep -qw mem /sys/power/state; then
  skip "suspend: this machine cannot"
else
  go_to_sleep rests
  [ ! "$can_wake" ] || go_to_sleep waits
fi

# Ending it
foreign_timers() { as_user systemctl --user is-active foreign.timer ZTAgent-foreign.timer | xargs; }
as_user systemctl --user --no-block start ztbackupbytime.service
wait_for 5 runs && sleep 2
as_user systemctl --user --quiet disable --now ztbackupbytime.timer
check "timers of others stand" same "active active" "$(foreign_timers)"
if [ "$can_wake" ]; then
  check "stopping the timer cancels the wake event" same "" "$(events)"
  wait_for 30 rests
  as_user ZTAgent wake "$(date -d '3 seconds' '+%-m/%-d/%Y %-H:%-M:%-S')"
  check "without the timer a wake event starts nothing" same "" "$(wait_for 8 runs && echo started)"
fi
finish
