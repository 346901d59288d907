#include "Commands.h"

#include "AppConfig.h"
#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <QStringList>

using namespace ptCloud;

namespace
{

/// The project of the stand, opened, and what its controller says.
class Session
{
public:
    explicit Session(const QString &directory, bool isOpen = true) : m_place(directory + QLatin1String("/project"))
    {
        const auto note = [this](const char *sign) {
            return [this, sign](const QString &name) { m_signals << QLatin1String(sign) + name; };
        };
        PtCloud_Controller *const source = m_project.getController();
        QObject::connect(source, &PtCloud_Controller::sg_LasFile_Added, note("+"));
        QObject::connect(source, &PtCloud_Controller::sg_LasFile_Removed, note("-"));
        QObject::connect(source, &PtCloud_Controller::sg_DataSet_Added, note("+"));
        QObject::connect(source, &PtCloud_Controller::sg_DataSet_Removed, note("-"));
        QObject::connect(source, &PtCloud_Controller::sg_DataSet_Renamed,
                         [this](const QString &from, const QString &to) { m_signals << from + QLatin1Char('>') + to; });
        if (isOpen)
            m_project.loadProject(m_place, nullptr);
    }

    PtCloud_Controller &controller() { return *m_project.getController(); }
    PtCloud_Project &project() { return m_project; }
    const QString &place() const { return m_place; }

    /// The result, both registries, and the signals so far.
    QByteArray tell(const QByteArray &result)
    {
        QMap<QString, QString> lasFiles;
        QMap<QString, QString> dataSets;
        controller().getLasFilepaths(lasFiles);
        controller().getDataSetFileNames(dataSets);
        const QStringList parts = {QString::fromLatin1(result), QStringList(lasFiles.keys()).join(QLatin1Char(' ')),
                                   QStringList(dataSets.keys()).join(QLatin1Char(' ')),
                                   m_signals.join(QLatin1Char(' '))};
        return parts.join(QLatin1Char('|')).toUtf8();
    }
    QByteArray tell(EEPtCloudActResult result) { return tell(QByteArray::number(static_cast<int>(result))); }

private:
    QString m_place;
    PtCloud_Project m_project;
    QStringList m_signals;
};

const QString a = QStringLiteral("a");
const QString b = QStringLiteral("b");
const QString made = QStringLiteral("new");

QByteArray import(const QString &directory)
{
    Session session(directory);
    arm();
    return session.tell(session.controller().doCmd_LasFile_Import({directory + QLatin1String("/las/b.las")}, nullptr));
}

QByteArray columns(const QString &directory)
{
    Session session(directory);
    QList<EDataSetColumn> list;
    arm();
    session.controller().getLasFileColumns(QStringLiteral("a.las"), list);
    return session.tell(QByteArray::number(list.size()));
}

QByteArray make(const QString &directory)
{
    Session session(directory);
    const QList<EDataSetColumn> wanted = {EDataSetColumn_Position, EDataSetColumn_Color, EDataSetColumn_Intensity};
    arm();
    return session.tell(session.controller().doCmd_DataSet_Make({{QStringLiteral("a.las")}, wanted, made}));
}

QByteArray copy(const QString &directory)
{
    Session session(directory);
    arm();
    return session.tell(session.controller().doCmd_DataSet_Copy({a, made}));
}

QByteArray merge(const QString &directory)
{
    Session session(directory);
    arm();
    return session.tell(session.controller().doCmd_DataSet_Merge({{a, b}, made, false}));
}

QByteArray mergeAndRemove(const QString &directory)
{
    Session session(directory);
    arm();
    return session.tell(session.controller().doCmd_DataSet_Merge({{a, b}, made, true}));
}

QByteArray rename(const QString &directory)
{
    Session session(directory);
    arm();
    return session.tell(session.controller().doCmd_DataSet_Rename({a, made}));
}

QByteArray remove(const QString &directory)
{
    Session session(directory);
    arm();
    return session.tell(session.controller().doCmd_DataSet_Remove({a}));
}

QByteArray open(const QString &directory)
{
    Session session(directory, false);
    arm();
    return session.tell(toWord(session.project().loadProject(session.place(), nullptr)));
}

/// With one more LAS file than the project file on disk names.
QByteArray save(const QString &directory)
{
    Session session(directory);
    session.controller().doCmd_LasFile_Import({directory + QLatin1String("/las/b.las")}, nullptr);
    arm();
    return session.tell(toWord(session.project().save(session.place(), nullptr)));
}

/// The worker copies the points; the host then takes them as a mesh.
QByteArray runFunction(const QString &directory)
{
    AppConfig::getInstance().setHomeDir(directory + QLatin1String("/home"));
    AppConfig::getInstance().setBinDir(QStringLiteral(SCRIPTED_WORKER_DIR));
    Session session(directory);
    const QString destination = session.place() + QLatin1String("/a/made.mesh");
    arm();
    return session.tell(session.controller().doCmd_DataSet_Do_Mesh(
        {a, destination, Function_mesh_alpha, QVariantList({true, 2.5})}, nullptr));
}

constexpr Command commands[] = {{"import", import},
                                {"columns", columns},
                                {"make", make},
                                {"copy", copy},
                                {"merge", merge},
                                {"merge-and-remove", mergeAndRemove},
                                {"rename", rename},
                                {"remove", remove},
                                {"open", open},
                                {"save", save},
                                {"run-function", runFunction}};

} // namespace

const Command *findControllerCommand(const QByteArray &name)
{
    return findIn(commands, name);
}
