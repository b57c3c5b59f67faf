#include "qt/dbus_names.h"

#include "base/automation_identity.h"

namespace tsly::dbus {
namespace {

QString Annotation(const char* name, const QString& value) {
  return QStringLiteral("<annotation name=\"%1\" value=\"%2\"/>").arg(QLatin1StringView(name), value);
}

QString DispatchId(const automation::Member& member) {
  return Annotation("com.quillonsystems.DispatchId",
                    QStringLiteral("0x%1").arg(member.dispatch_id, 8, 16, QChar(u'0')));
}

QString Members() {
  QString text;
  for (const automation::Member& member : automation::kMembers) {
    const QLatin1StringView name(member.name);
    if (member.kind == automation::MemberKind::kMethod) {
      text += QStringLiteral("<method name=\"%1\">%2</method>").arg(name, DispatchId(member));
    } else if (member.kind == automation::MemberKind::kPropertyGet) {
      text += QStringLiteral("<property name=\"%1\" type=\"i\" access=\"readwrite\">%2%3</property>")
                  .arg(name, DispatchId(member),
                       Annotation("org.freedesktop.DBus.Property.EmitsChangedSignal", QStringLiteral("false")));
    }
  }
  return text;
}

const QString kPropertiesXml = QStringLiteral(
    "<interface name=\"org.freedesktop.DBus.Properties\">"
    "<method name=\"Get\"><arg name=\"interface\" type=\"s\" direction=\"in\"/>"
    "<arg name=\"name\" type=\"s\" direction=\"in\"/><arg name=\"value\" type=\"v\" direction=\"out\"/></method>"
    "<method name=\"Set\"><arg name=\"interface\" type=\"s\" direction=\"in\"/>"
    "<arg name=\"name\" type=\"s\" direction=\"in\"/><arg name=\"value\" type=\"v\" direction=\"in\"/></method>"
    "<method name=\"GetAll\"><arg name=\"interface\" type=\"s\" direction=\"in\"/>"
    "<arg name=\"values\" type=\"a{sv}\" direction=\"out\"/></method></interface>");

}  // namespace

QString FactoryIntrospection() {
  return QStringLiteral(
             "<interface name=\"%1\"><method name=\"CreateObject\"><arg name=\"progId\" type=\"s\" direction=\"in\"/>"
             "<arg name=\"object\" type=\"o\" direction=\"out\"/></method></interface>")
      .arg(QLatin1StringView(kFactoryInterface));
}

QString ObjectIntrospection() {
  return QStringLiteral("<interface name=\"%1\">%2%3<method name=\"Release\"/></interface>%4")
      .arg(QLatin1StringView(kObjectInterface),
           Annotation("com.quillonsystems.InterfaceId", QLatin1StringView(automation::kInterfaceId)), Members(),
           kPropertiesXml);
}

}  // namespace tsly::dbus
