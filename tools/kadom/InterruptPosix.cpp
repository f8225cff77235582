#if !defined(_WIN32)

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <iterator>

#include "tools/kadom/Interrupt.h"

namespace karst::tool {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGPIPE};

std::atomic<int> noted{0};
static_assert(std::atomic<int>::is_always_lock_free);

struct sigaction former[std::size(kSignals)];

// A signal that comes just before a system call does not keep the call from waiting. So the alarm goes on ringing, and
// ends the call.
void Note(int number) {
  if (number != SIGALRM) noted = number;
  alarm(1);
}

void SetAction(int number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;  // without SA_RESTART: system calls that wait end
  sigaction(number, &action, nullptr);
}

}  // namespace

InterruptWatch::InterruptWatch() {
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    const int number = kSignals[i];
    sigaction(number, nullptr, &former[i]);
    if (number == SIGHUP && former[i].sa_handler == SIG_IGN) continue;
    SetAction(number, number == SIGPIPE ? SIG_IGN : Note);
  }
}

InterruptWatch::~InterruptWatch() {
  Finish();
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &former[i], nullptr);
}

void InterruptWatch::Finish() {
  for (const int number : kSignals) SetAction(number, SIG_IGN);
  alarm(0);
}

void CheckInterrupt() {
  const int number = noted;
  if (number != 0) throw Interrupted{128 + (number == SIGINT ? SIGINT : SIGTERM)};
}

std::thread StartUninterrupted(std::function<void()> work) {
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  for (const int number : kSignals) sigaddset(&blocked, number);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  std::thread thread;
  try {
    thread = std::thread(std::move(work));
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace karst::tool

#endif
