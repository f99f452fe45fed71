#!/usr/bin/env bash
# Plays the writing of a client against the installed files, and prints it as
# docs/writing-a-client.md holds it: all commands are really run, and what they print is
# what is shown.
#
#   walk-through.sh BUILD_FOLDER > docs/writing-a-client.md
#   walk-through.sh BUILD_FOLDER --check     # whether that file is still true
set -euo pipefail

build=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
page=$here/../../docs/writing-a-client.md
program=door-recorder

folder=$(mktemp -d)
veskd_pid=
clean_up() {
  [ -z "$veskd_pid" ] || kill "$veskd_pid" 2>/dev/null || true
  pkill -KILL -f "^/bin/sh (./|$folder/)$program\$" || true
  rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# From run to run numbers differ, and the order in which two threads log.
comparable() { sed -E 's/[0-9]+/0/g; s/ +/ /g' "$1" | sort; }
if [ "${2:-}" = --check ]; then
  "$0" "$1" >"$folder/page.md"
  diff <(comparable "$page") <(comparable "$folder/page.md") && exit
  echo "$(basename "$page") is not true any more; $0 $1 prints what is" >&2
  exit 1
fi

# Only relative names show, whatever the machine.
mkdir "$folder/vesk"
ln -s "$build" "$folder/vesk/build"
cd "$folder"
export LC_ALL=C PATH=$folder/vesk/build:$PATH
unset CMAKE_GENERATOR PKG_CONFIG_PATH VESKD_SOCKET

say() { printf '%s\n' "$*"; }

# Runs a command line as a reader would type it; its exit status is shown if it is not 0.
type_in() {
  local status=0
  printf '    $ %s\n' "$1"
  bash -c "$1" >output 2>&1 </dev/null || status=$?
  sed "s|$folder/||g; s/^/    /; s/[[:blank:]]*\$//" output
  [ "$status" -eq 0 ] || printf '    (exit status %s)\n' "$status"
  echo
}

# Waits until the log has a text.
await() {
  for _ in $(seq 300); do
    ! grep -q -- "$1" veskd.log 2>/dev/null || return 0
    sleep 0.1
  done
  cat veskd.log >&2
  echo "the log never showed: $1" >&2
  exit 1
}

cat <<'END'
# Writing a client

A client is a component of your own that runs in the host, beside the watchdog: a shared
library that `veskd` loads as one more plug-in. It may ask for the watchdog by its
identifier, add programs to it while it runs, and hear its events.

This page goes from an empty folder to a running client, with the package `vesk-dev` and
without the sources of vesk. `tests/sdk/walk-through.sh` printed it: the commands were run
as they stand here, and this is what they printed.

## What you need

A C++17 compiler, CMake (with Ninja, here) or pkg-config, and a host to run in, `veskd`.
With the packages `libvesk`, `vesk-dev`, `veskd` and `veskp-watchdog-process` installed,
leave out all that has to do with the folder `sdk` below, read
`/usr/share/doc/vesk-dev/examples/client` for the example's folder, and name the watchdog
`/usr/lib/vesk/libveskp.watchdog.process.so`. Without packages, any folder will do; this
fills one from a build of vesk, whose programs are in the `PATH`:

END
type_in 'cmake --install vesk/build --component libvesk --prefix sdk >/dev/null'
type_in 'cmake --install vesk/build --component vesk-dev --prefix sdk >/dev/null'
type_in 'ls -F sdk sdk/include/vesk sdk/share/doc/vesk-dev'
cat <<'END'
For another machine, put them into the root folder that its other libraries are in, and
give CMake your toolchain file as ever; nothing in these files names a folder.

## The file

Begin with a copy of the example. It keeps a program running that is in no table of the
watchdog's, and says in the log when that program runs more than once.

END
type_in 'cp -r sdk/share/doc/vesk-dev/examples/client .'
type_in 'ls client'
cat <<'END'
`Client.cpp` is what you change. `Component.h` is what every client needs, and stays as it
is: the counting of holders, and the object that the host sees.

END
type_in 'cat client/Client.cpp'
cat <<'END'
`obtainInstance` asks the host for a service and holds it in a counted pointer; what is not
to be had leaves the pointer empty. The headers say of each operation what it returns, who
owns what it hands out, and on which threads it may be called. What can be set for a
program is in `watchdog/IProcessWatchdogEntry.h`, what it means in `IProcessWatchdogInfo.h`
beside it; the topics of the events are in `watchdog/IProcessWatchdog.h`.

## Building it

END
type_in "cmake -G Ninja -S client -B client/build -DCMAKE_PREFIX_PATH=\$PWD/sdk >/dev/null"
type_in 'cmake --build client/build'
say "The whole of its \`CMakeLists.txt\`:"
say
type_in 'cat client/CMakeLists.txt'
say 'Or with one line, and no CMake:'
say
export PKG_CONFIG_PATH=sdk/lib/pkgconfig
printf '    $ export PKG_CONFIG_PATH=%s\n\n' "$PKG_CONFIG_PATH"
type_in "g++ -std=c++17 -shared -fPIC -o client/libclient.so client/Client.cpp -Wl,--version-script=client/exports.map \$(pkg-config --cflags --libs vesk)"
say 'Either way the library exports one function, and nothing else:'
say
type_in 'nm -DC --defined-only client/build/libclient.so | cut -d " " -f 2-'

say '## Running it'
say
say 'The program to keep running may be any. This one stands for it:'
say
type_in "printf '#!/bin/sh\\nwhile sleep 1; do :; done\\n' >$program && chmod +x $program"
say 'The client comes behind the watchdog, for plug-ins are started in the order of this list:'
say
cat >veskd.toml <<EOF
[host]
plugins = ["vesk/build/libveskp.watchdog.process.so", "client/build/libclient.so"]
control_socket = "veskd.sock"
log_file = "veskd.log"

[watchdog.process]
cpu_enabled = true
mem_enabled = true
inst_enabled = true
sample_time = 1

[client]
name = "$program"
executable = "./$program"
EOF
type_in 'cat veskd.toml'
cat <<'END'
The check knows the keys of the host and of the watchdog, and no others. So it warns of a
table of yours, which is right nevertheless, and so does the answer to a reload. The log of
the running host, which sees who reads what, does not. With `config_dir` your table is in a
file of its own, `client.toml`, that nobody else looks into.

END
type_in 'veskd --check -c veskd.toml'
printf '    $ veskd -c veskd.toml &\n\n'
veskd -c veskd.toml 2>/dev/null &
veskd_pid=$!
await 'new pid='
say 'The client is started, and so is its program, though no table of the watchdog names it:'
say
type_in "grep -e ' client: ' -e $program veskd.log"

cat <<'END'
Somebody starts it once more, by hand. The watchdog counts two at its next look and
publishes an event; the client hears it, and will at every look until one of them is gone:

END
printf '    $ ./%s &\n\n' "$program"
setsid "./$program" </dev/null >/dev/null 2>&1 &
second_pid=$!
disown
await 'runs 2 times'
type_in "grep ' client: ' veskd.log | head -n 2"
say 'The host shows the entry like any other:'
say
for _ in $(seq 100); do
  ! veskctl --socket veskd.sock show "$program" >/dev/null 2>&1 || break
  sleep 0.1
done
type_in "veskctl --socket veskd.sock show $program | head -n 6"
say 'That one is ended again:'
say
printf '    $ kill %%2\n\n'
kill "$second_pid"
cat <<'END'
A reload ends all plug-ins, the last of the list first, and starts them anew from the same
libraries. The client takes its entry away and adds it again, and its program runs on:

END
type_in 'veskctl --socket veskd.sock reload'
type_in "grep -A 4 ' reloading ' veskd.log | head -n 5"
say 'A stop takes the entry away, too, and leaves the program running:'
say
printf '    $ kill %%1\n\n'
kill "$veskd_pid"
wait "$veskd_pid" || true
veskd_pid=
type_in 'tail -n 3 veskd.log'
type_in "pgrep -x -l $program"

cat <<'END'
## When it does not work

The first lines of the log tell most of it. Here the client comes before the watchdog:

END
sed 's|^plugins.*|plugins = ["client/build/libclient.so", "vesk/build/libveskp.watchdog.process.so"]|
  /^log_file/d' veskd.toml >wrong.toml
type_in 'grep plugins wrong.toml'
type_in 'veskd --log-level error -c wrong.toml 2>&1 | cut -d " " -f 2-'
cat <<'END'
What `init()` returned stands behind `res=`: a code of `framework/PResult.h` or
`watchdog/ProcessWatchdogResult.h`, or a negated `errno`.

And a library that calls what is defined nowhere; the linker finds that sooner with
`-Wl,--no-undefined`, as the example's `CMakeLists.txt` has it:

END
sed 's|fLog->init(L"client");|& void missing(); missing();|' client/Client.cpp >client/Wrong.cpp
type_in "g++ -std=c++17 -shared -fPIC -o libwrong.so client/Wrong.cpp \$(pkg-config --cflags --libs vesk)"
type_in 'veskd --log-level error --plugin libwrong.so 2>&1 | cut -d " " -f 2-'
cat <<'END'
`veskd --log-level debug` shows what `ILogger::debug` logs, and the watchdog's own steps.
For a debugger, configure with `-DCMAKE_BUILD_TYPE=Debug` and run `veskd -c veskd.toml` in
it; a breakpoint at `Client::onEvent` has to wait until the host has loaded the library.
In a list of threads, `vesk-events` is the one that events come on, and
`[PProcessWatchd` is the watchdog's.

## Who owns what

- Every object counts its holders and deletes itself when the last one lets go. A new one
  has none, and neither a lookup nor `getProcessInfo` makes you a holder. `PBaseptr` does,
  and lets go when it ends; `obtainInstance` fills one. A plain pointer is good for
  comparing, and for using within the call that gave it to you.
- **What you hold stays.** Services, the watchdog and entries live for as long as you hold
  them, so it does not matter here whose plug-in ends first. For the same reason, let go of
  what belongs to other plug-ins when yours is stopped: a host that finds the former
  watchdog still held after a reload must assume that it still runs, and ends.
- **What you hand over is held by others.** The dispatcher holds a listener until
  `unsubscribe`, and for as long as a call of it is under way. That is why the listener and
  the plug-in are two objects: the plug-in is the host's alone, so that it ends when the
  host lets go, and then stops the listener.
- **Take back what you gave:** a subscription, and the entry if it is still yours. An
  operator may have removed it meanwhile, and added another of that name.

## Which thread

- `init()` and the end of the plug-in come on the host's main thread. Nobody is served
  meanwhile, so do not wait there for long.
- `onEvent` comes on the dispatcher's thread, one event at a time and one listener after
  the other. It may come as soon as `subscribe` is called, before `start()` is over, and
  the last one may end after `unsubscribe` returned. So it uses only what was set before
  and stays after; where it changes something of the object, put a lock around that.
- The watchdog's registry may be called from any thread, from `onEvent` too. A call waits
  while a sample is being taken, and that takes long where a program that will not end is
  restarted; whoever does it in `onEvent` keeps all other listeners waiting.
- Copies of one `PBaseptr` belong to one thread. Another thread gets a pointer of its own:
  `PBaseptr<ILogger> own; own = shared.get();`.
- Fill an entry before it is added. To change it, take it out, change it, add it again.

## What both sides of a library rely on

- `char` is unsigned: `-funsigned-char`, which the CMake package and `vesk.pc` bring. A CPU
  limit of 200 is negative otherwise, on a desk, and right on 32-bit ARM.
- One exported function, `IPlugin* veskGetPlugin()`, in C++ linkage. It makes an object and
  nothing else. Keep the rest inside the library, as `exports.map` does: otherwise two
  plug-ins with a class of the same name may come to use one of the two.
- No exception leaves an operation that others call: put a `pGuarded` around what may
  throw, and texts may. Results are 0 or negative codes.
- Operations of an interface are called by their place in it. Implement all of them, in no
  other order than the header's, and add your own behind them.
- The host never unloads a library while its plug-in or an object that `getInterfaces`
  offers is held, nor while one of your listeners is at work. It knows nothing of your other
  objects. Threads of your own are yours to end: before the plug-in ends, for their code may
  go then.
END
