#pragma once
#include <atomic>
#include <map>
#include <string>
#include <vector>

class IBase;

/// The world that the test makes up, and what was done to it.
struct Script {
  std::map<std::wstring, IBase*> services;
  std::map<std::wstring, std::vector<unsigned int>> processes;
  std::vector<std::wstring> notes;
  std::atomic<int> waits = 0;

  int note(std::wstring const& line) { return notes.push_back(line), 0; }
};
extern Script script;
