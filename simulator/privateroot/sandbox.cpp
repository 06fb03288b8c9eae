#include "privateroot/sandbox.h"

#include <QFileInfo>

namespace {

// Inside a network of its own, so the number never collides.
constexpr int kScreenPort = 5900;

QString inherited(const char* name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

class Arguments
{
public:
    Arguments& add(std::initializer_list<QString> words)
    {
        m_words += words;
        return *this;
    }
    Arguments& readOnly(const QString& path)
    {
        return add({QStringLiteral("--ro-bind"), path, path});
    }
    Arguments& readOnly(const QString& path, const char* inside)
    {
        return add({QStringLiteral("--ro-bind"), path, QLatin1String(inside)});
    }
    Arguments& writable(const QString& path, const char* inside)
    {
        return add({QStringLiteral("--bind"), path, QLatin1String(inside)});
    }
    Arguments& environment(const char* name, const QString& value)
    {
        return add({QStringLiteral("--setenv"), QLatin1String(name), value});
    }
    Arguments& fresh(const char* kind, const char* inside)
    {
        return add({QLatin1String(kind), QLatin1String(inside)});
    }
    const QStringList& words() const { return m_words; }

private:
    QStringList m_words;
};

void addNamespaces(Arguments& arguments, bool network)
{
    arguments.add({QStringLiteral("--unshare-user"), QStringLiteral("--uid"), QStringLiteral("0"),
                   QStringLiteral("--gid"), QStringLiteral("0"), QStringLiteral("--cap-add"),
                   QStringLiteral("CAP_SYS_ADMIN"), QStringLiteral("--unshare-pid"),
                   QStringLiteral("--die-with-parent")});
    if (!network)
        arguments.add({QStringLiteral("--unshare-net")});
}

void addSystem(Arguments& arguments)
{
    arguments.readOnly(QStringLiteral("/usr")).readOnly(QStringLiteral("/etc"));
    for (const QString& folder : {QStringLiteral("bin"), QStringLiteral("sbin"),
                                  QStringLiteral("lib"), QStringLiteral("lib64")})
        arguments.add({QStringLiteral("--symlink"), QStringLiteral("usr/") + folder,
                       QLatin1Char('/') + folder});
    arguments.fresh("--proc", "/proc").fresh("--dev", "/dev").fresh("--tmpfs", "/tmp");
    arguments.add({QStringLiteral("--dev-bind"), QStringLiteral("/dev/fuse"),
                   QStringLiteral("/dev/fuse")}); // for the stick's server
    arguments.fresh("--dir", "/media/usbkey");
    arguments.fresh("--perms", "0700").fresh("--dir", "/run/user"); // Qt insists on the rights
}

void addFolders(Arguments& arguments, const SandboxSettings& settings)
{
    arguments.writable(settings.station_folder, "/opt/Corvane")
        .writable(settings.launcher_folder, "/opt/CorvaneLauncher")
        .writable(settings.stick_folder, "/run/corvane/stick")
        .writable(settings.control_folder, "/run/corvane/control")
        .readOnly(settings.tools_folder, "/run/corvane/tools")
        .readOnly(settings.station_program, "/run/corvane/corvane")
        .readOnly(settings.stick_program, "/run/corvane/corvane-stick")
        .add({QStringLiteral("--bind"), settings.testbed_folder, settings.testbed_folder});
    if (settings.download_space_bytes > 0)
        arguments.add({QStringLiteral("--size"), QString::number(settings.download_space_bytes)})
            .fresh("--tmpfs", "/opt/Corvane/tmp");
}

void addEnvironment(Arguments& arguments, const SandboxSettings& settings)
{
    arguments.add({QStringLiteral("--clearenv")})
        .environment("PATH", QStringLiteral("/run/corvane/tools:/usr/sbin:/usr/bin"))
        .environment("HOME", QStringLiteral("/tmp"))
        .environment("XDG_RUNTIME_DIR", QStringLiteral("/run/user"))
        .environment("LANG", QStringLiteral("C.UTF-8"))
        .environment("QT_QUICK_BACKEND", QStringLiteral("software"))
        .environment("UMOCKDEV_DIR", settings.testbed_folder);
}

/// The sanitizers' options of a build that has them, with the files of suppressions they name.
void addSanitizerOptions(Arguments& arguments)
{
    for (const char* name : {"LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        const QString options = inherited(name);
        if (options.isEmpty())
            continue;
        arguments.environment(name, options);
        for (const QString& option : options.split(QLatin1Char(':')))
            if (option.startsWith(QLatin1String("suppressions=")))
                arguments.readOnly(option.section(QLatin1Char('='), 1));
    }
    // The simulated devices are loaded before it, which does no harm.
    arguments.environment("ASAN_OPTIONS",
                          QStringLiteral("verify_asan_link_order=0:") + inherited("ASAN_OPTIONS"));
}

void addPrivateScreen(Arguments& arguments)
{
    arguments
        .environment("QT_QPA_PLATFORM",
                     QStringLiteral("vnc:size=480x272:mmsize=127x72:port=%1").arg(kScreenPort))
        .environment("QT_QPA_FB_HIDECURSOR", QStringLiteral("1")) // a touchscreen has none
        .environment("CORVANE_SCREEN_PORT", QString::number(kScreenPort));
}

void addWindow(Arguments& arguments)
{
    arguments.environment("QT_QPA_PLATFORM", QStringLiteral("xcb"))
        .environment("DISPLAY", inherited("DISPLAY"));
    if (QFileInfo::exists(QStringLiteral("/tmp/.X11-unix")))
        arguments.readOnly(QStringLiteral("/tmp/.X11-unix"));
    const QString authority = inherited("XAUTHORITY").isEmpty()
                                  ? inherited("HOME") + QStringLiteral("/.Xauthority")
                                  : inherited("XAUTHORITY");
    if (QFileInfo::exists(authority))
        arguments.readOnly(authority, "/run/corvane/xauthority")
            .environment("XAUTHORITY", QStringLiteral("/run/corvane/xauthority"));
}

} // namespace

QStringList sandboxArguments(const SandboxSettings& settings)
{
    Arguments arguments;
    addNamespaces(arguments, settings.window);
    addSystem(arguments);
    addFolders(arguments, settings);
    addEnvironment(arguments, settings);
    addSanitizerOptions(arguments);
    if (settings.window)
        addWindow(arguments);
    else
        addPrivateScreen(arguments);
    arguments.add({QStringLiteral("/run/corvane/tools/start-station")});
    return arguments.words();
}
