// Signals that ask a command to end: INT, TERM and HUP; on Windows Ctrl-C, Ctrl-Break and the end of the console.
#pragma once

#include <cerrno>
#include <functional>
#include <thread>

namespace karst::tool {

// Ends the command like a Failure. It is a class of its own, so that handlers of Failure do not catch it.
struct Interrupted {
  int status;  // with which the process ends: 130, or 143 for TERM, HUP and the end of the console
};

// While it lives, a signal does not end the process but is noted, and CheckInterrupt tells of it. A signal HUP that was
// ignored from the start stays ignored, as nohup wants it; so is PIPE, which then is an error of the write. There is
// one at a time, and what it does concerns the thread that made it.
class InterruptWatch {
 public:
  InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch();

  // The work is done and stays: from now on signals are ignored.
  void Finish();
};

// Throws Interrupted when a signal has been noted.
void CheckInterrupt();

// Lives around a system call that may wait for somebody else. When a signal comes before or while it waits, the call
// fails, soon if not at once, and CheckInterrupt throws.
class InterruptibleWait {
 public:
#if defined(_WIN32)
  InterruptibleWait();
  ~InterruptibleWait();
#else
  InterruptibleWait() = default;  // signals end system calls by themselves
#endif
  InterruptibleWait(const InterruptibleWait&) = delete;
  InterruptibleWait& operator=(const InterruptibleWait&) = delete;
};

// Runs a system call that may wait, and answers what it answers: a negative number with errno when it failed. Throws
// Interrupted.
template <class Call>
auto Await(Call call) {
  for (;;) {
    CheckInterrupt();
    decltype(call()) result = 0;
    int error = 0;
    {
      [[maybe_unused]] const InterruptibleWait wait;
      result = call();
      error = errno;
    }
    if (result >= 0) return result;
    if (error == EINTR) continue;
    CheckInterrupt();
    errno = error;
    return result;
  }
}

// A thread that takes no signals, so that they reach the one that waits.
std::thread StartUninterrupted(std::function<void()> work);

}  // namespace karst::tool
