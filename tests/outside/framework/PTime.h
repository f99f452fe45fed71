#pragma once

struct PTime {
  static long long getTickCount() { return 1; }
  static long long getTickCountDiff(long long from, long long to) { return to - from; }
};
