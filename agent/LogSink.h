// Agent::LogSink: where qossnmpd's log lines go, net-snmp's own included.
//
// install() replaces net-snmp's log handlers with one that writes whole lines to standard
// error. Under systemd, when standard error is the journal's stream ($JOURNAL_STREAM names its
// device and inode), each line starts with the journal's priority prefix ("<3>" for LOG_ERR), so
// `journalctl -p err` finds the errors; on a terminal or in a file the lines are as they were.
// net-snmp may write one line in several calls: the sink assembles them and prefixes each line
// once, with the priority of its first part.
//
// While a ConfigCapture is alive, the problems net-snmp's configuration parser reports ("FILE:
// line N: Error: ..." and "... Warning: ..."; an unknown directive is a warning) are collected
// instead of written, so that the agent can refuse to start and name each one; the library's
// advice that no access rule is configured (which names the /etc/snmp search path qossnmpd
// never reads) is collected as a problem of its own.
//
// Process-wide, like net-snmp's logging; call everything on the agent's thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Agent {

namespace LogSink {

// Routes net-snmp's log to standard error through the sink; safe to call more than once.
void install();

// The prefix a line of `priority` gets: "<N>" under the journal, else "".
std::string prefixFor(int priority);

// Whether standard error is the journal's stream (for tests: the decision install() made).
bool toJournal();

// Writes a message (one or more lines, or part of one) as net-snmp's handler does.
void write(int priority, std::string_view text);

}  // namespace LogSink

// One configuration problem: "FILE: line N: what is wrong".
struct ConfigProblem {
  std::string file;
  unsigned long line = 0;
  std::string text;  // "FILE: line N: what is wrong"

  friend bool operator==(const ConfigProblem&, const ConfigProblem&) = default;
};

class ConfigCapture {
 public:
  ConfigCapture();
  ~ConfigCapture();
  ConfigCapture(const ConfigCapture&) = delete;
  ConfigCapture& operator=(const ConfigCapture&) = delete;

  // The problems reported so far, each once (net-snmp reads the file twice), by file and line.
  const std::vector<ConfigProblem>& problems() const noexcept;
  // Whether net-snmp found no access rule at all (the agent would answer no one).
  bool noAccessRule() const noexcept;
};

}  // namespace Agent
