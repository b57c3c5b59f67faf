// All that a run of the program stands on, borrowed for its length.
#pragma once

namespace tsly {

class AutomationServer;
class Clock;
class EventLoop;
class Files;
class Folders;
class Locale;
class ProfileReader;
class Registry;
class Shell;
class Toolkit;
class TransferControl;
class UnzipFactory;

struct Platform {
  Registry& registry;
  ProfileReader& profiles;
  Folders& folders;
  Files& files;
  Clock& clock;
  TransferControl& transfer;
  UnzipFactory& unzip;
  Shell& shell;
  Locale& locale;
  Toolkit& toolkit;
  EventLoop& loop;
  AutomationServer& automation;  // stands idle in a process on its own
};

}  // namespace tsly
