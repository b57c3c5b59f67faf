// The D-Bus form of the automation server: what clients, the service file and the documentation of its members go by.
#pragma once

#include <QString>

namespace tsly::dbus {

inline constexpr char kService[] = "com.quillonsystems.TessalyStudio";
inline constexpr char kFactoryPath[] = "/com/quillonsystems/TessalyStudio";
inline constexpr char kFactoryInterface[] = "com.quillonsystems.TessalyStudio.ClassFactory";
inline constexpr char kObjectsPath[] = "/com/quillonsystems/TessalyStudio/CheckNew/";  // and a number
inline constexpr char kObjectInterface[] = "com.quillonsystems.TessalyStudio.CheckNew";
inline constexpr char kNotRegistered[] = "com.quillonsystems.TessalyStudio.Error.ClassNotRegistered";
inline constexpr char kServerBusy[] = "com.quillonsystems.TessalyStudio.Error.ServerBusy";

inline constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
inline constexpr char kIntrospectable[] = "org.freedesktop.DBus.Introspectable";

// Introspection data of the two kinds of objects (the format of the D-Bus documentation, introspect.dtd). The members
// of an object come from the identity of the automation class.
QString FactoryIntrospection();
QString ObjectIntrospection();

}  // namespace tsly::dbus
