# Holds what veskd says it did against what the programs say befell them.
#
#   awk -v lateness=FILE -f check.awk truth alive ends record
#
# truth:  "milliseconds pid name what..." as the programs write it
# alive:  "pid name" of what lives at the end
# ends:   "milliseconds pid" of programs whose end veskd has noticed
# record: tab-separated: number, milliseconds, kind, entry, pid, value, result, would-have, text
#
# FILE gets "late ROLE MILLISECONDS" from each fate to the next instance. One line for each thing that is wrong, then lines "= KEY VALUE". The fate of a process
# says which acts must follow, for each entry in this order: so none may be missing, none be
# superfluous, and none be of another process.
BEGIN {
  patience = 120000 # milliseconds from a fate to the next instance, on the slowest of machines
  acts["leak"] = acts["deaf"] = "mem_high"
  acts["spin"] = "cpu_high"
  split("crash stop leak deaf spin crowd name", roles, " ")
  for (i in roles) must[roles[i]] = 1
}

function wrong(text) { print text; ++wrongs }

function roleOf(name) {
  sub(/^[^-]*-/, "", name)
  sub(/[0-9]*$/, "", name)
  return name
}

function expect(name, kind, pid) {
  wanted[name] = wanted[name] " " kind
  ++due[name " " kind " " pid]
  ++expected
}

function expectStart() {
  if (!($3 in last) || $3 in fateAt) expect($3, "start", $2)
  if ($3 in last) {
    if (!($3 in fateAt)) wrong($3 ": " $2 " was started, but nothing had befallen " last[$3])
    else {
      late = $1 - fateAt[$3]
      print "late", role, late > lateness
      if (late > patience) wrong($3 ": " late " ms from the fate of " last[$3] " to the start of " $2)
    }
  }
  if ($5 == "beside" && role != "stop" && role != "name") wrong($3 ": " $2 " started while " $6 " lived")
  last[$3] = $2
  delete fateAt[$3]
}

function expectFate() {
  if (last[$3] != $2) wrong($3 ": a fate of " $2 ", but " last[$3] " was the last started")
  fateAt[$3] = $1
  ++fates[role]
  if (role in acts) {
    expect($3, acts[role], $2)
    expect($3, "kill", $2)
  }
  if ($5 == "crowd") {
    expect($3, "inst_high", 3)
    expect($3, "kill", $2)
    expect($3, "kill", $6)
    expect($3, "kill", $7)
  }
}

FILENAME == ARGV[1] {
  role = roleOf($3)
  if (role == "load") { if ($4 != "start") wrong("strangers: " $0) }
  else if ($4 == "term") asked[$3 " " $2] = 1
  else if (role != "visit" && $4 == "start") expectStart()
  else if (role != "visit" && $4 == "fate") expectFate()
  next
}

FILENAME == ARGV[2] {
  ++living[$2]
  livingPid[$2] = $1
  next
}

FILENAME == ARGV[3] { endedAt[$2] = $1; next }

{
  split($0, field, "\t")
  number = field[1]; kind = field[3]; name = field[4]; pid = field[5]
  if (number != previous + 1) wrong("record " previous " is followed by " number)
  previous = number
  if (name ~ /^warm/) next
  ++made
  followPasses()
  if (kind == "inst_high") pid = field[6]
  got[name] = got[name] " " kind
  ++done[name " " kind " " pid]
  if (kind == "kill") ended[name " " pid] = 1
  if (field[7] != "0" && field[7] != "null") wrong("failed: " $0)
  if (field[8] != "false") wrong("only pretended: " $0)
  if (field[9] == "" || field[9] ~ /not known/) wrong("without a reason: " $0)
}

# A pass goes through the entries by name, and begins a sample time after the end of the one
# before. So it can be told of most that they began when an end was known already: such a
# pass must have started the program again. `lookedBy` is when the pass began at the soonest.
function followPasses(at, p) {
  at = field[2]
  if (name < lastName) {
    ++pass
    lookedBy[pass] = lastAt + 990
  }
  lastName = name
  lastAt = at
  if (kind != "start" || roleOf(name) != "crash") return
  former = bearer[name]
  bearer[name] = pid
  if (!(former in endedAt)) return
  ++judged
  for (p = pass - 1; p > 1 && lookedBy[p] > endedAt[former]; --p) continue
  if (p < pass - 1) wrong(name ": " former " had ended, and a pass went by before " pid " was started")
}

# The first place where the two differ.
function difference(name, want, have, w, h, n, m, i) {
  n = split(want, w, " "); m = split(have, h, " ")
  for (i = 1; i <= n && i <= m && w[i] == h[i]; ++i) continue
  return name ": act " i " of " n " should be `" w[i] "' and is `" h[i] "'"
}

END {
  for (name in wanted) if (wanted[name] != got[name]) wrong(difference(name, wanted[name], got[name]))
  for (name in got) if (!(name in wanted)) wrong(name ": unexpected:" got[name])
  for (act in due) if (due[act] != done[act] + 0) wrong("missing: " act ": " due[act] " due, " done[act] + 0 " made")
  for (act in done) if (done[act] > due[act] + 0) ++unexpected
  # One that a slow machine does not let run within the grace is killed before it can tell.
  for (who in ended) { ++kills; if (!(who in asked)) ++untold }
  if (untold * 2 > kills) wrong("of " kills " that were ended, " untold " were not asked to before")
  for (who in asked) if (!(who in ended)) wrong("was asked to end, which nobody recorded: " who)
  for (name in last) {
    if (name in fateAt) wrong(name ": nothing came after the fate of " last[name])
    if (living[name] != 1) wrong(name ": " living[name] + 0 " live at the end")
    else if (livingPid[name] != last[name]) wrong(name ": " last[name] " should live, not " livingPid[name])
    ++entries
  }
  if (entries != 94) wrong(entries + 0 " programs told of themselves, not 94")
  for (role in must) if (!(role in fates)) wrong("nothing befell any " role ": that proves nothing")
  for (fate in fates) print "= fate_" fate, fates[fate]
  print "= untold", untold + 0
  print "= judged", judged + 0
  print "= entries", entries + 0
  print "= expected", expected + 0
  print "= made", made + 0
  print "= unexpected", unexpected + 0
  exit wrongs > 0
}
