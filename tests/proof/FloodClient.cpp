// A component that is hard on the others: its listener does not return before a file is
// there, named by FLOOD_UNTIL, and it posts events by the hundred thousand; again each
// time that the file goes.

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "examples/client/Component.h"

class FloodClient : public Counted<IEventListener> {
 public:
  int start() {
    obtainInstance(ID_ILOGGER, fLog);
    obtainInstance(ID_IEVENTDISPATCHER, fEvents);
    if (fUntil == nullptr || !fLog || !fEvents) return PResult::notFound;
    fEvents->subscribe(L"flood", this);
    fThread = std::thread([this] { flood(); });
    return PResult::ok;
  }

  void stop() {
    fIsOver = true;
    if (fThread.joinable()) fThread.join();
    if (fEvents) fEvents->unsubscribe(L"flood", this);
    fEvents = nullptr;
  }

  void onEvent(PLiteral const&, IBase*, int) override { await(true, false); }

 private:
  /// @param isForStop whether the end of this component ends it as well.
  void await(bool isThere, bool isForStop) const {
    while (isThere != (::access(fUntil, F_OK) == 0) && !(isForStop && fIsOver)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  void flood() {
    constexpr int kEvents = 300'000;
    while (!fIsOver) {
      for (int i = 0; i < kEvents; ++i) fEvents->postEvent(L"flood", nullptr, i);
      fLog->info(0, L"flood: %d events posted", kEvents);
      await(true, true);
      fLog->info(0, L"flood: until the file goes");
      await(false, true);
    }
  }

  PBaseptr<ILogger> fLog;
  PBaseptr<IEventDispatcher> fEvents;
  const char* const fUntil = std::getenv("FLOOD_UNTIL");
  std::atomic<bool> fIsOver = false;
  std::thread fThread;
};

VESK_API IPlugin* veskGetPlugin() { return new (std::nothrow) Plugin<FloodClient>; }
