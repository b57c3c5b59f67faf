// The automation server: lets the host product, a client in another process, make objects and call them; and how the
// system starts a process for that. What clients know the class by: base/automation_identity.h.
//
// Belongs to the program's one thread. Calls are events: they arrive from the event loop one at a time, also while a
// routine waits and lets events run. A test calls the objects in process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace tsly {

// What a client calls on one object. Nothing here may raise.
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

// What a process is started for, by its arguments.
enum class StartMode {
  kOnItsOwn,
  kForClients,  // the system starts it for a client's first call
  kRegister,    // makes this program file the one that the system starts for clients, and ends
  kUnregister,  // takes that back, and ends
};

// An argument that names a mode, spelled exactly so. Each edition has a table of those that its system uses; every
// other argument is the program's.
struct StartSwitch {
  const char* argument;
  StartMode mode;
};

// The system's record of which program file serves the class. An edition whose installation writes that record has no
// object of this kind, and no switches for it.
class AutomationRegistration {
 public:
  virtual ~AutomationRegistration() = default;
  // For every user, or for this one without the right to that. Both give a result code (system_codes.h): 0, also when
  // nothing was to do; 5: no right.
  virtual int Register() = 0;
  virtual int Unregister() = 0;
};

enum class AutomationStart {
  kServing,
  kTaken,         // another process serves already
  kNotReachable,  // there is nothing to serve clients on
};

class AutomationServer {
 public:
  using Factory = std::function<std::shared_ptr<AutomationObject>()>;

  virtual ~AutomationServer() = default;

  // Serves clients from the next turn of the event loop on. Every object that a client asks for comes from `create`.
  // The server holds it until its client lets it go or is gone; a call that runs in it holds it as well.
  virtual AutomationStart Start(Factory create) = 0;

  // Objects that a client holds now, and whether one ever did. Each change is an event of the loop.
  virtual std::size_t ObjectsHeld() const = 0;
  virtual bool HasHeldObjects() const = 0;

  // Stops being found by new clients, and serves the calls that have arrived until then. False: one of them made an
  // object, and the server goes on as before.
  virtual bool Leave() = 0;
};

}  // namespace tsly
