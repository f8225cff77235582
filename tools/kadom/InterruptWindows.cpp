#if defined(_WIN32)

#include <windows.h>

#include <atomic>
#include <mutex>

#include "tools/kadom/Interrupt.h"

namespace karst::tool {

namespace {

std::atomic<int> status{0};

// The thread that works, and whether it waits in a system call that may be cancelled.
HANDLE worker = nullptr;
std::mutex waitAccess;
bool isWaiting = false;

// Runs on a thread of its own. When the console ends, the system ends the process as soon as this returns; so it never
// does, and the process ends by itself.
BOOL WINAPI OnConsoleEvent(DWORD event) {
  status = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? 130 : 143;
  for (;;) {
    {
      const std::lock_guard<std::mutex> access(waitAccess);
      if (isWaiting) CancelSynchronousIo(worker);
    }
    Sleep(50);
  }
}

}  // namespace

InterruptWatch::InterruptWatch() {
  DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &worker, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

InterruptWatch::~InterruptWatch() = default;  // the process is about to end, and so do its handler and its handle

void InterruptWatch::Finish() {}

void CheckInterrupt() {
  if (status != 0) throw Interrupted{status};
}

InterruptibleWait::InterruptibleWait() {
  const std::lock_guard<std::mutex> access(waitAccess);
  isWaiting = true;
}

InterruptibleWait::~InterruptibleWait() {
  const std::lock_guard<std::mutex> access(waitAccess);
  isWaiting = false;
}

std::thread StartUninterrupted(std::function<void()> work) {
  return std::thread(std::move(work));
}

}  // namespace karst::tool

#endif
