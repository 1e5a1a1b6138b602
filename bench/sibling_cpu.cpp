// What a thread asleep in select() is charged while another thread of its process, or another
// process, allocates and fills memory: the reason the state file is read in a process of its
// own. Prints the sleeper's CPU time (CLOCK_THREAD_CPUTIME_ID) per second asleep, for each case.
//
//   g++ -O2 -pthread bench/sibling_cpu.cpp -o /tmp/sibling_cpu && /tmp/sibling_cpu
#include <signal.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>
#include <vector>

namespace {

double threadCpuMs() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Allocates, fills and frees 4 million blocks of 200 bytes (about a parse of a large file), over
// and over, until `stop`.
void churn(const std::atomic<bool>& stop) {
  while (!stop) {
    std::vector<char*> blocks;
    for (int i = 0; i < 4000000 && !stop; ++i) {
      blocks.push_back(static_cast<char*>(std::malloc(200)));
      std::memset(blocks.back(), 1, 200);
    }
    for (char* block : blocks) {
      std::free(block);
    }
  }
}

void sleepAndReport(const char* what) {
  std::printf("%-40s", what);
  for (int i = 0; i < 5; ++i) {
    double before = threadCpuMs();
    timeval second{1, 0};
    select(0, nullptr, nullptr, nullptr, &second);
    std::printf(" %6.2f", threadCpuMs() - before);
  }
  std::printf("  ms per second asleep\n");
  std::fflush(stdout);
}

}  // namespace

int main() {
  sleepAndReport("nothing else running");

  std::atomic<bool> stop{false};
  std::thread sibling([&stop] { churn(stop); });
  sleepAndReport("a thread of the process churns memory");
  stop = true;
  sibling.join();

  pid_t child = fork();
  if (child == 0) {
    std::atomic<bool> never{false};
    churn(never);
    _exit(0);
  }
  sleepAndReport("another process churns memory");
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return 0;
}
