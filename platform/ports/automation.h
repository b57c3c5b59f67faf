// The automation server: lets the host product, a client in another process, create objects and call them; and how the
// system starts a process for that. The names and numbers of the class: base/automation_identity.h.
//
// One thread, the program's. Calls are events: the event loop delivers them one at a time, also during a wait of a
// routine. Tests call the objects in process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace tsly {

// A client's interface to one object. Nothing here may throw.
class AutomationObject {
 public:
  virtual ~AutomationObject() = default;
  virtual std::int32_t GetStatus() = 0;
  virtual void PutStatus(std::int32_t status) = 0;  // any value, unchecked
  virtual void VerifyVersion() = 0;
  virtual void ConfigureUpdater() = 0;
  // Ends the process. The server has sent the caller's reply before it calls this.
  virtual void Quit() = 0;
};

// The purpose of a process, from its arguments.
enum class StartMode {
  kOnItsOwn,
  kForClients,  // started by the system for a client's first call
  kRegister,    // registers this program file for clients, and ends
  kUnregister,  // removes the registration, and ends
};

// An argument that selects a mode, case-sensitive. Each edition has a table of those that its system uses; all other
// arguments are for the program.
struct StartSwitch {
  const char* argument;
  StartMode mode;
};

// The system's registration of the program file for the class. An edition whose installation does that has no such
// object and no switches for it.
class AutomationRegistration {
 public:
  virtual ~AutomationRegistration() = default;
  // For all users, or only for this user without the right to that. Both return a result code (system_codes.h): 0, also
  // if there was nothing to do; 5: no permission.
  virtual int Register() = 0;
  virtual int Unregister() = 0;
};

enum class AutomationStart {
  kServing,
  kTaken,         // another process already serves
  kNotReachable,  // no way to serve clients, such as a missing bus
};

class AutomationServer {
 public:
  using Factory = std::function<std::shared_ptr<AutomationObject>()>;

  virtual ~AutomationServer() = default;

  // Serves clients from the next turn of the event loop. Calls `create` for every object that a client creates. The
  // server owns the object until its client releases it or disconnects; a running call keeps it alive too.
  virtual AutomationStart Start(Factory create) = 0;

  // The number of objects that clients have now, and whether there has ever been one. Each change is an event of the
  // loop.
  virtual std::size_t ObjectsHeld() const = 0;
  virtual bool HasHeldObjects() const = 0;

  // Becomes unreachable for new clients and processes the calls that have arrived. False: one of them created an
  // object, and the server continues as before.
  virtual bool Leave() = 0;
};

}  // namespace tsly
