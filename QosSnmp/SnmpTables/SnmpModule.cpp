#include "QosSnmp/SnmpTables/SnmpModule.h"

#include <cstdlib>

#include "Mox/Singleton.h"
#include "Snmp/MibContext.h"
#include "Snmp/RegVoidCollByContext.h"
#include "QosSnmp/SnmpTables/Trace.h"

namespace QosSnmp {

SnmpModule::SnmpModule(const char* moduleName, std::initializer_list<oid> moduleOid,
                       const char* description)
    : name_(moduleName), objectRoot_(moduleOid) {
  Snmp::mibModuleIs(name_, std::vector<U64>(moduleOid.begin(), moduleOid.end()), description);
  objectRoot_.push_back(1);
}

SnmpModule::~SnmpModule() {
  Snmp::mibModuleDel(name_);
  for (auto& [context, infos] : columnInfos_) {
    for (netsnmp_column_info* info : infos) {
      std::free(info);
    }
  }
}

std::vector<oid> SnmpModule::tableOid(U32 arc) const {
  std::vector<oid> result = objectRoot_;
  result.push_back(arc);
  return result;
}

void SnmpModule::logInit(const char* function, const char* file, int line,
                         const Quill::String& context) const {
  if (snmp_get_do_debugging()) {
    debugmsgtoken("trace", "%s(): %s, %d:\n", function, file, line);
    debugmsg("trace", "%s(): %s, %d:\n", function, file, line);
    debugmsgtoken(name_, "Initializing in context \"%s\"\n", context.c_str());
    debugmsg(name_, "Initializing in context \"%s\"\n", context.c_str());
  }
}

void SnmpModule::registrationAdd(const Quill::String& context, netsnmp_handler_registration* reg) {
  registrations_[context].push_back(reg);
}

void SnmpModule::columnInfoAdd(const Quill::String& context, netsnmp_column_info* info) {
  columnInfos_[context].push_back(info);
}

void SnmpModule::unregister(const Quill::String& context) {
  QTRACE(snmpTrace(), 2, "Unregistering {} in context \"{}\"", name_, context);
  std::list<netsnmp_handler_registration*> regs = registrations_[context];
  auto coll = Mox::singletonIs<Snmp::RegVoidCollByContext>();
  for (netsnmp_handler_registration* reg : regs) {
    Quill::String handlerName = reg->handlerName ? reg->handlerName : "";
    Quill::String tableName = handlerName.substr(0, handlerName.find('_'));
    coll->delRegVoid(context, tableName);
    netsnmp_unregister_handler(reg);
  }
  registrations_.erase(context);
  std::list<netsnmp_column_info*> infos = std::move(columnInfos_[context]);
  columnInfos_.erase(context);
  for (netsnmp_column_info* info : infos) {
    while (info) {
      netsnmp_column_info* next = info->next;
      std::free(info);
      info = next;
    }
  }
  Snmp::unregisterMibContext(context, name_);
}

}  // namespace QosSnmp
