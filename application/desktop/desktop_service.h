#pragma once

#include <QDBusAbstractAdaptor>
#include <QPointer>
#include <QStringList>
#include <QVariantMap>

class QWidget;

// The desktop's road in: the program owns its application id on the session bus and answers
// org.freedesktop.Application there, so that a file manager's "Open with" and a launcher reach
// the running window. An opened file travels on as a QFileOpenEvent to the application object,
// the same road an open request takes on a system that sends those events itself.
class desktop_service : public QObject {
    Q_OBJECT

public:
    // The application's id: its bus name, and the name of its desktop entry and icons.
    static QString application_id();
    // "/org/velmora/Tavimo" for "org.velmora.Tavimo".
    static QString object_path(const QString& id);

    // Registers a service for `window` on the session bus under application_id(). Call once the
    // window is shown: the bus holds an activation request until the name is owned, so nothing
    // reaches a window that can't take it yet. Without a bus, or with the name owned by another
    // running copy, it logs one line and the program goes on without it. Returns whether the
    // name was taken.
    static bool offer(QWidget* window);

    // Hands `paths` to the copy that owns the application id on the session bus, as its Open.
    // False when there is no bus, no copy runs (none is started for this), or it didn't answer
    // within a few seconds; the caller then opens its own window.
    static bool open_in_running_copy(const QStringList& paths);

    explicit desktop_service(QWidget* window, QObject* parent = nullptr);

    void activate();
    // Local file: URIs become paths, handed on one by one once the bus call has been answered;
    // other URIs are left out.
    void open(const QStringList& uris);

private:
    void deliver_pending();

    QPointer<QWidget> window;
    QStringList pending;
    bool delivering = false;
};

class freedesktop_application_adaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit freedesktop_application_adaptor(desktop_service* service);

public slots:
    void Activate(const QVariantMap& platform_data);
    void Open(const QStringList& uris, const QVariantMap& platform_data);
    void ActivateAction(const QString& action_name, const QVariantList& parameter, const QVariantMap& platform_data);

private:
    desktop_service* service;
};
