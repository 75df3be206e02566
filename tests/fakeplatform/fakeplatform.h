#ifndef FAKEPLATFORM_H
#define FAKEPLATFORM_H

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

// The one registry behind every fake platform object.
//
// Answers: a test sets the answer of a platform operation under a key "Class/answer" with set(); the
// fake reads it with get() when the plugin asks, so an answer can be changed at any time. Keys are
// listed in fakeplatform.cpp next to their defaults.
//
// Calls: every operation the plugin invokes on the platform is recorded, in order, as "Class::method"
// with its arguments.
//
// Objects: every fake QObject the plugin creates is tracked, so that a test can find it (for instance
// the NFC agent, to fire its signals, or a connection manager, to let it report "connected()").
struct FakeCall
{
    QString name;
    QVariantList args;
};

class FakePlatform
{
public:
    // Forgets every answer, call and tracked object.
    static void reset();

    static void set(const QString& key, const QVariant& value);
    static QVariant get(const QString& key, const QVariant& defaultValue = QVariant());
    static void unset(const QString& key);

    static void record(const QString& name, const QVariantList& args = QVariantList());
    static QList<FakeCall> calls();
    static QStringList callNames();
    // The recorded calls of that name, in order.
    static QList<FakeCall> callsTo(const QString& name);
    static int count(const QString& name) { return callsTo(name).size(); }
    static void clearCalls();

    static void track(QObject* object);
    static QList<QObject*> trackedObjects();
    template<class T> static QList<T*> objects()
    {
        QList<T*> result;
        for (QObject* object : trackedObjects()) {
            if (T* t = qobject_cast<T*>(object))
                result.append(t);
        }
        return result;
    }
    template<class T> static T* last()
    {
        const QList<T*> all = objects<T>();
        return all.isEmpty() ? nullptr : all.last();
    }

    // A content action name that stands for an invalid action in the answer lists of ContentAction.
    static QString invalidAction() { return QStringLiteral("<invalid>"); }
};

#endif
