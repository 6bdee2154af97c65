#include "desktop_service.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusError>
#include <QFileOpenEvent>
#include <QGuiApplication>
#include <QTimer>
#include <QUrl>
#include <QWidget>

QString desktop_service::application_id() { return QStringLiteral(TAVIMO_APP_ID); }

QString desktop_service::object_path(const QString& id)
{
    QString path = "/" + id;
    path.replace('.', '/').replace('-', '_');
    return path;
}

bool desktop_service::offer(QWidget* window)
{
    const QString id = application_id();
    QGuiApplication::setDesktopFileName(id);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        qInfo("Desktop open requests are off: no session bus (%s).", qPrintable(bus.lastError().message()));
        return false;
    }
    auto* service = new desktop_service(window, QCoreApplication::instance());
    new freedesktop_application_adaptor(service);
    // The object comes first: a request that the bus held back is delivered the moment the
    // name is ours.
    const QString path = object_path(id);
    bus.registerObject(path, service);
    // Not queued: a second copy must not silently take over the name when the first one ends
    // while its own window stays unreachable in between.
    if (!bus.registerService(id)) {
        qInfo("Desktop open requests go to the copy that already runs: %s is taken (%s).", qPrintable(id),
            qPrintable(bus.lastError().message()));
        bus.unregisterObject(path);
        delete service;
        return false;
    }
    return true;
}

bool desktop_service::open_in_running_copy(const QStringList& paths)
{
    const QString id = application_id();
    // A connection of its own, not the shared session bus: that one starts with its delivery
    // held back until an event loop runs, and this start may never run one.
    const QString connection_name = QStringLiteral("tavimo hand-over");
    bool handed_over = false;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection_name);
        // Asked first: a call to a name that no one owns would have the bus start a copy for it.
        if (bus.isConnected() && bus.interface()->isServiceRegistered(id).value()) {
            QStringList uris;
            for (const QString& path : paths)
                uris << QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
            QDBusMessage call = QDBusMessage::createMethodCall(id, object_path(id),
                QStringLiteral("org.freedesktop.Application"), QStringLiteral("Open"));
            call.setArguments({uris, QVariantMap()});
            const QDBusMessage answer = bus.call(call, QDBus::Block, 10000);
            handed_over = answer.type() == QDBusMessage::ReplyMessage;
            if (!handed_over)
                qInfo("The running copy did not take the files (%s); this one opens its own window.",
                    qPrintable(answer.errorMessage()));
        }
    }
    QDBusConnection::disconnectFromBus(connection_name);
    return handed_over;
}

desktop_service::desktop_service(QWidget* window, QObject* parent) : QObject(parent), window(window) {}

void desktop_service::activate()
{
    if (!window)
        return;
    if (window->isMinimized())
        window->showNormal();
    window->show();
    window->raise();
    window->activateWindow();
}

void desktop_service::open(const QStringList& uris)
{
    for (const QString& uri : uris) {
        const QUrl url(uri);
        if (url.isLocalFile())
            pending << url.toLocalFile();
    }
    activate();
    // Later, not now: the caller gets its answer at once instead of waiting for ExifTool to read
    // every file.
    QTimer::singleShot(0, this, &desktop_service::deliver_pending);
}

void desktop_service::deliver_pending()
{
    // A load processes events between files, so a request that comes in meanwhile lands here
    // again; it joins the queue instead of starting a load inside the running one.
    if (delivering)
        return;
    delivering = true;
    while (!pending.isEmpty()) {
        QFileOpenEvent event(pending.takeFirst());
        QCoreApplication::sendEvent(QCoreApplication::instance(), &event);
    }
    delivering = false;
}

freedesktop_application_adaptor::freedesktop_application_adaptor(desktop_service* service)
    : QDBusAbstractAdaptor(service), service(service)
{
}

void freedesktop_application_adaptor::Activate(const QVariantMap&) { service->activate(); }

void freedesktop_application_adaptor::Open(const QStringList& uris, const QVariantMap&) { service->open(uris); }

void freedesktop_application_adaptor::ActivateAction(const QString& action_name, const QVariantList&, const QVariantMap&)
{
    // The desktop entry declares no actions.
    qInfo("Desktop action \"%s\" is not known.", qPrintable(action_name));
}
