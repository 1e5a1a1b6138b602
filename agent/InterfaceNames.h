// Agent::InterfaceNames: IF-MIB's names of the switch's interfaces, for a master agent.
//
// The stand-in platform's interface MIB: ifDescr (ifTable column 2), ifName and ifAlias
// (ifXTable columns 1 and 18) of every interface in the interface MIB's ifIndex map
// (IntfSnmp::IfMib::ifIndexByIntfId). ifDescr and ifName are the interface's name
// ("Ethernet11", "Port-Channel1"); ifAlias is empty (the state file holds no description). No
// other column of either table is served. net-snmp's own IF-MIB module describes the host's
// interfaces, not the switch's, and is not used; a sub-agent serves none of this (its master's
// IF-MIB stands).
//
// The rows are an ordered map by ifIndex, served to both registrations through net-snmp's sorted
// table iterator, and follow the map key by key: the object subscribes to the map's changes and
// moves, adds or removes the one row a change touches. A request starts at the row its index
// names (the iterator's hint), so a walk costs a lookup per row; an interface costs two small
// tree nodes, its name is made from its id when a request reads it. While a reload
// is under way two interfaces may briefly share an ifIndex (one has moved to it, the other not
// yet away); the row then names the lower interface id, and the other's again once it moves on.
//
// The constructor builds the rows; serve() registers the two tables with the agent (throws
// SnmpAgentError if it cannot) and the destructor unregisters them. REQUIRES: net-snmp's library is
// initialised (containers) before construction, its agent before serve(). Single-threaded: the
// agent's thread.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "IntfSnmp/IfMib.h"
#include "Linko/IntfId.h"
#include "Quill/Ptr.h"
#include "Quill/IntTypes.h"
#include "Quill/Publisher.h"

struct netsnmp_handler_registration_s;

namespace Agent {

using Quill::U32;

class InterfaceNames {
 public:
  // REQUIRES: ifMib.
  explicit InterfaceNames(Quill::Ptr<IntfSnmp::IfMib const> ifMib);
  ~InterfaceNames();
  InterfaceNames(const InterfaceNames&) = delete;
  InterfaceNames& operator=(const InterfaceNames&) = delete;

  // Registers ifTable and ifXTable in the default context. REQUIRES: not serving.
  void serve();
  bool serving() const noexcept { return !registrations_.empty(); }

  // The name in the row of `ifIndex`; none when there is no row.
  std::optional<std::string> name(U32 ifIndex) const;
  // The number of rows (counted: for tests).
  size_t rows() const;

 private:
  // (ifIndex, interface), every interface shown: the row of an ifIndex is its first pair, named
  // by that pair's interface.
  using Pairs = std::set<std::pair<U32, Linko::IntfId>>;
  struct Iteration;  // the table iterator's callbacks

  // The map's key `intf` changed.
  void changed(Linko::IntfId intf);
  // The row of `ifIndex` (its first pair), or end().
  Pairs::const_iterator row(U32 ifIndex) const;
  // The row after the one of `at`'s ifIndex: the first pair of the next ifIndex, or end().
  Pairs::const_iterator nextRow(const Pairs::value_type& at) const;

  Quill::Ptr<IntfSnmp::IfMib const> ifMib_;
  Pairs pairs_;
  // What the rows show for each interface; in the order of the interface MIB's map, which is the
  // order its changes come in at start.
  IntfSnmp::IfMib::IfIndexByIntfIdColl shown_;
  std::vector<netsnmp_handler_registration_s*> registrations_;
  Quill::Publisher<Linko::IntfId>::Subscription subscription_;
};

}  // namespace Agent
