#include "LogSink.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <tuple>
#include <cstdlib>
#include <cstring>
#include <regex>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <fmt/format.h>

namespace Agent {

namespace {

struct State {
  bool installed = false;
  bool journal = false;
  std::string pending;  // a line begun but not ended
  int pendingPriority = LOG_INFO;
  ConfigCapture* capture = nullptr;
  std::vector<ConfigProblem> problems;
  bool noAccessRule = false;
};

State& state() {
  static State s;
  return s;
}

// systemd sets JOURNAL_STREAM to "DEVICE:INODE" of the stream it connected; standard error is
// the journal only if it is still that stream (a shell redirect would have changed it).
bool stderrIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat st = {};
  if (stream == nullptr || fstat(STDERR_FILENO, &st) != 0) {
    return false;
  }
  return fmt::format("{}:{}", st.st_dev, st.st_ino) == stream;
}

constexpr std::string_view noAccessAdvice = "Warning: no access control information configured.";

// "FILE: line N: Error: TEXT" or "... Warning: TEXT", as net-snmp's config_perror and
// config_pwarn print them.
bool collectConfigProblem(std::string_view line) {
  static const std::regex problem(R"(^(.*): line (\d+): (?:Error|Warning): (.*)$)");
  static const std::regex unknown(R"(^Unknown token: (.*?)\.?$)");
  std::match_results<std::string_view::const_iterator> m;
  if (!std::regex_match(line.begin(), line.end(), m, problem)) {
    return false;
  }
  std::string what = m[3].str();
  std::smatch u;
  if (std::regex_match(what, u, unknown)) {
    what = fmt::format("unknown directive '{}'", u[1].str());
  }
  ConfigProblem found{m[1].str(), std::stoul(m[2].str()),
                      fmt::format("{}: line {}: {}", m[1].str(), m[2].str(), what)};
  auto& problems = state().problems;
  if (std::find(problems.begin(), problems.end(), found) == problems.end()) {
    auto at = std::upper_bound(problems.begin(), problems.end(), found, [](auto& a, auto& b) {
      return std::tie(a.file, a.line) < std::tie(b.file, b.line);
    });
    problems.insert(at, std::move(found));
  }
  return true;
}

void emitLine(int priority, std::string_view line) {
  State& s = state();
  if (s.capture != nullptr && collectConfigProblem(line)) {
    return;
  }
  std::string out = LogSink::prefixFor(priority);
  out.append(line);
  out.push_back('\n');
  std::fwrite(out.data(), 1, out.size(), stderr);
  std::fflush(stderr);
}

int handle(netsnmp_log_handler* /*handler*/, int priority, const char* text) {
  LogSink::write(priority, text != nullptr ? text : "");
  return 1;
}

}  // namespace

namespace LogSink {

void install() {
  State& s = state();
  s.journal = stderrIsJournal();
  if (s.installed) {
    return;
  }
  s.installed = true;
  snmp_disable_log();
  netsnmp_log_handler* handler =
      netsnmp_register_loghandler(NETSNMP_LOGHANDLER_CALLBACK, LOG_DEBUG);
  handler->handler = handle;
  handler->token = strdup("qossnmpd");  // net-snmp frees it with the handler
}

std::string prefixFor(int priority) {
  return state().journal ? fmt::format("<{}>", priority) : std::string();
}

bool toJournal() {
  return state().journal;
}

void write(int priority, std::string_view text) {
  State& s = state();
  if (s.capture != nullptr && s.pending.empty() && text.starts_with(noAccessAdvice)) {
    s.noAccessRule = true;
    return;
  }
  while (!text.empty()) {
    std::size_t end = text.find('\n');
    if (s.pending.empty()) {
      s.pendingPriority = priority;
    }
    if (end == std::string_view::npos) {
      s.pending.append(text);
      return;
    }
    s.pending.append(text.substr(0, end));
    emitLine(s.pendingPriority, s.pending);
    s.pending.clear();
    text.remove_prefix(end + 1);
  }
}

}  // namespace LogSink

ConfigCapture::ConfigCapture() {
  state().capture = this;
  state().problems.clear();
  state().noAccessRule = false;
}

ConfigCapture::~ConfigCapture() {
  state().capture = nullptr;
}

const std::vector<ConfigProblem>& ConfigCapture::problems() const noexcept {
  return state().problems;
}

bool ConfigCapture::noAccessRule() const noexcept {
  return state().noAccessRule;
}

}  // namespace Agent
