// All ports of a run of the program, which must outlive it.
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
  AutomationServer& automation;  // unused in a process without clients
};

}  // namespace tsly
