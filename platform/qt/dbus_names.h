// The D-Bus names of the automation server; clients, the service file and the documentation depend on them.
#pragma once

#include <QString>

namespace tsly::dbus {

inline constexpr char kService[] = "com.quillonsystems.TessalyStudio";
inline constexpr char kFactoryPath[] = "/com/quillonsystems/TessalyStudio";
inline constexpr char kFactoryInterface[] = "com.quillonsystems.TessalyStudio.ClassFactory";
inline constexpr char kObjectsPath[] = "/com/quillonsystems/TessalyStudio/CheckNew/";  // plus a number
inline constexpr char kObjectInterface[] = "com.quillonsystems.TessalyStudio.CheckNew";
inline constexpr char kNotRegistered[] = "com.quillonsystems.TessalyStudio.Error.ClassNotRegistered";
inline constexpr char kServerBusy[] = "com.quillonsystems.TessalyStudio.Error.ServerBusy";

inline constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
inline constexpr char kIntrospectable[] = "org.freedesktop.DBus.Introspectable";

// Introspection data of the two kinds of objects (in the format of introspect.dtd of the D-Bus documentation). The
// members of an object come from the automation class's identity.
QString FactoryIntrospection();
QString ObjectIntrospection();

}  // namespace tsly::dbus
