// SPDX-License-Identifier: GPL-3.0-or-later
// Launch to a readable tray menu over StatusNotifierItem, for Brambleworth and for a minimal Qt
// tray program, in the same run: from process start until a tray host could show the menu
// (the item is registered, and AboutToShow + GetLayout over dbusmenu answer the items).
// Needs an X display and a session bus; without them it runs itself under
// `dbus-run-session -- xvfb-run -a`. Needs status-notifier-watcher
// (haskell-status-notifier-item-utils).
#include "BenchSupport.h"

#include "Model/Script.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");

QStringList labels(const QDBusArgument& layout)
{
    QStringList found;
    int id = 0;
    QVariantMap properties;
    layout.beginStructure();
    layout >> id >> properties;
    if (properties.contains(QStringLiteral("label")))
        found.append(properties.value(QStringLiteral("label")).toString());
    layout.beginArray();
    while (!layout.atEnd()) {
        QDBusVariant child;
        layout >> child;
        found += labels(child.variant().value<QDBusArgument>());
    }
    layout.endArray();
    layout.endStructure();
    return found;
}

class Host : public QObject
{
    Q_OBJECT
public:
    QString registered;

public slots:
    void itemRegistered(const QString& service) { registered = service; }
};

// The menu's labels once the item that registered last exports one; empty until then.
QStringList readMenu(const QString& item)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const qsizetype slash = item.indexOf(QLatin1Char('/'));
    const QString service = slash < 0 ? item : item.left(slash);
    const QString path = slash < 0 ? QStringLiteral("/StatusNotifierItem") : item.mid(slash);
    QDBusMessage get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get.setArguments({QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Menu")});
    const QDBusMessage menuPath = bus.call(get);
    if (menuPath.type() != QDBusMessage::ReplyMessage)
        return {};
    const QString menu = menuPath.arguments()
                             .first()
                             .value<QDBusVariant>()
                             .variant()
                             .value<QDBusObjectPath>()
                             .path();
    const QString dbusmenu = QStringLiteral("com.canonical.dbusmenu");
    QDBusMessage about =
        QDBusMessage::createMethodCall(service, menu, dbusmenu, QStringLiteral("AboutToShow"));
    about.setArguments({0});
    bus.call(about);
    QDBusMessage layout =
        QDBusMessage::createMethodCall(service, menu, dbusmenu, QStringLiteral("GetLayout"));
    layout.setArguments({0, -1, QStringList()});
    const QDBusMessage reply = bus.call(layout);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() < 2)
        return {};
    return labels(reply.arguments().at(1).value<QDBusArgument>());
}

std::vector<double> launches(const QString& program, const QStringList& arguments,
                             const QProcessEnvironment& environment, Host& host,
                             const QString& expectedLabel, QStringList* lastLabels)
{
    std::vector<double> samples;
    for (int run = 0; run < 11; ++run) {
        host.registered.clear();
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const std::int64_t start = bench::monotonicNs();
        process.start(program, arguments);
        QStringList found;
        const bool ready = bench::spinUntil(
            [&] {
                if (host.registered.isEmpty())
                    return false;
                found = readMenu(host.registered);
                return found.contains(expectedLabel);
            },
            10000);
        const std::int64_t end = bench::monotonicNs();
        if (!ready)
            qFatal("%s: no readable tray menu", qPrintable(program));
        samples.push_back(double(end - start) / 1e6);
        *lastLabels = found;
        process.terminate();
        process.waitForFinished(5000);
    }
    return samples;
}

} // namespace

int main(int argc, char** argv)
{
    bench::ensureDisplayAndBus(argv);
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();

    QProcess watcher;
    watcher.start(QStringLiteral("status-notifier-watcher"), {});
    if (!bench::spinUntil(
            [&] { return bus.interface()->isServiceRegistered(watcherService).value(); }, 10000))
        qFatal("status-notifier-watcher did not start");

    Host host;
    const QString hostName = QStringLiteral("org.kde.StatusNotifierHost-%1").arg(getpid());
    bus.registerService(hostName);
    bus.connect(watcherService, QStringLiteral("/StatusNotifierWatcher"), watcherService,
                QStringLiteral("StatusNotifierItemRegistered"), &host,
                SLOT(itemRegistered(QString)));
    QDBusMessage registration = QDBusMessage::createMethodCall(
        watcherService, QStringLiteral("/StatusNotifierWatcher"), watcherService,
        QStringLiteral("RegisterStatusNotifierHost"));
    registration.setArguments({hostName});
    bus.call(registration);

    // A private library of 20 scripts, one with a mnemonic-looking name.
    QTemporaryDir home;
    ScriptList scripts;
    for (int i = 0; i < 19; ++i)
        scripts.append(
            Script::create(QStringLiteral("Script %1").arg(i), QStringLiteral(":"), false));
    scripts.append(Script::create(QStringLiteral("Clean_tmp"), QStringLiteral(":"), false));
    QDir().mkpath(home.filePath(QStringLiteral("data/org.brambleworth.Brambleworth")));
    QFile library(
        home.filePath(QStringLiteral("data/org.brambleworth.Brambleworth/Brambleworth.json")));
    if (!library.open(QIODevice::WriteOnly) || library.write(*Script::encodeLibrary(scripts)) < 0)
        qFatal("cannot write the library");
    library.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    const QString runtime = home.filePath(QStringLiteral("runtime"));
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);

    const QString binaries = QCoreApplication::applicationDirPath();
    QStringList appLabels;
    QStringList referenceLabels;
    // Alternated, so both see the same machine load.
    std::vector<double> app_;
    std::vector<double> reference;
    for (int round = 0; round < 3; ++round) {
        const auto a = launches(binaries + QStringLiteral("/brambleworth"), {}, environment, host,
                                QStringLiteral("Quit"), &appLabels);
        const auto r = launches(binaries + QStringLiteral("/minimal_tray"), {}, environment, host,
                                QStringLiteral("Quit"), &referenceLabels);
        app_.insert(app_.end(), a.begin(), a.end());
        reference.insert(reference.end(), r.begin(), r.end());
    }
    bench::report("launch to tray menu readable: Brambleworth", app_, "(goal < 100 ms)");
    bench::report("launch to tray menu readable: minimal Qt tray", reference);
    std::printf("%-52s %.2fx (goal within 1.4x)\n", "ratio of medians",
                bench::median(app_) / bench::median(reference));
    std::printf("menu as a host reads it: %s\n", qPrintable(appLabels.join(QStringLiteral(" | "))));

    // Idle memory: 100 scripts, the window closed (the tray is there), 10 s after launch.
    scripts.clear();
    for (int i = 0; i < 100; ++i)
        scripts.append(Script::create(QStringLiteral("Script %1").arg(i),
                                      QStringLiteral("echo %1").arg(i), false));
    if (!library.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        library.write(*Script::encodeLibrary(scripts)) < 0)
        qFatal("cannot write the library");
    library.close();
    QProcess idle;
    idle.setProcessEnvironment(environment);
    idle.start(binaries + QStringLiteral("/brambleworth"), {});
    bench::spinUntil([] { return false; }, 10000);
    QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(idle.processId()));
    long pssKiB = 0;
    if (rollup.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : rollup.readAll().split('\n')) {
            if (line.startsWith("Pss:"))
                pssKiB = line.mid(4).trimmed().split(' ').first().toLong();
        }
    }
    std::printf("%-52s %.1f MiB (goal < 35 MiB)\n", "idle PSS 10 s after launch, 100 scripts",
                double(pssKiB) / 1024.0);
    idle.terminate();
    idle.waitForFinished(5000);

    watcher.terminate();
    watcher.waitForFinished(5000);
    return 0;
}

#include "bench_tray_launch.moc"
