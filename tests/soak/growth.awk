# Judges what veskd took over time, from lines of
#
#   seconds rss_kib anonymous_kib threads fds worker_ns passes forks load_ns
#
# between `begin` and `until`; a line "rest" before these stands for each of the two times
# of rest, before and after the load. One line for each growth, then lines "= KEY VALUE".
# Exit status 77 where the machine was too busy to judge growth by: it did not bear half of
# the load, or had a pass only every two seconds. What is kept at rest counts all the same.
function wrong(text) { print text; ++wrongs }

function median(values, n, i, j, t) {
  for (i = 2; i <= n; ++i)
    for (j = i; j > 1 && values[j - 1] > values[j]; --j) {
      t = values[j]; values[j] = values[j - 1]; values[j - 1] = t
    }
  return values[int((n + 1) / 2)]
}

# The median of a column over a quarter of the load, 1 to 4.
function quarter(column, which, values, n, i) {
  n = 0
  for (i = 1; i <= count; ++i)
    if (int((time[i] - begin) * 4 / (until - begin)) + 1 == which) values[++n] = at[i, column]
  if (n == 0) wrong("no sample in quarter " which)
  return median(values, n)
}

# What a column grew by for each of another's, over a quarter.
function rate(column, per, which, i, from, to) {
  for (i = 1; i <= count; ++i)
    if (int((time[i] - begin) * 4 / (until - begin)) + 1 == which) {
      if (!from) from = i
      to = i
    }
  if (!from || at[to, per] == at[from, per]) return 1e-9
  return (at[to, column] - at[from, column]) / (at[to, per] - at[from, per])
}

function flat(what, column, allowance, first, last) {
  first = quarter(column, 2)
  last = quarter(column, 4)
  print "= " what "_first", first
  print "= " what "_last", last
  if (last > first + allowance) wrong(what " grew from " first " to " last ", more than " allowance)
}

function same(what, column, allowance) {
  print "= " what "_rest", rest[2, column]
  if (rest[2, column] > rest[1, column] + allowance && ++leaks)
    wrong(what " at rest: " rest[1, column] " before the load, " rest[2, column] " after it")
}

$1 == "rest" { ++rests; for (i = 2; i <= NF; ++i) rest[rests, i - 1] = $i; next }
$1 >= begin && $1 <= until { time[++count] = $1; for (i = 1; i <= NF; ++i) at[count, i] = $i }

END {
  flat("rss", 2, 128)
  flat("anonymous", 3, 22 + (until - begin) / 60)  # what the allocator may break into pieces
  flat("threads", 4, 1)
  flat("fds", 5, 24)  # those of what is just being started and ended come and go
  same("threads", 4, 0)
  same("fds", 5, 8)
  # The processor time of a pass; and that of a fork of the load, which says how much slower
  # the machine itself has become.
  first = rate(6, 7, 1)
  last = rate(6, 7, 4)
  machine = rate(9, 8, 4) / rate(9, 8, 1)
  forks = (at[count, 8] - at[1, 8]) / (time[count] - time[1])
  printf "= tick_first_ms %.2f\n= tick_last_ms %.2f\n= tick_ratio %.2f\n= machine_ratio %.2f\n= forks %.0f\n",
    first / 1e6, last / 1e6, last / first, machine, forks
  if (last > 1.5 * first && last > 1.5 * first * machine)
    wrong("a tick took " first / 1e6 " ms of processor time first and " last / 1e6 " ms last")
  for (i = 1; i <= 4; ++i) if (rate(7, 1, i) < 0.5 || rate(8, 1, i) < 100) busy = i
  if (busy) print "SKIPPED: growth is not judged, the machine was too busy in quarter " busy
  exit leaks > 0 ? 1 : busy ? 77 : wrongs > 0
}
