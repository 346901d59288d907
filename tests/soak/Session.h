#pragma once

#include "../control/FunctionRunTesting.h"

#include "PtCloud_Project.h"

#include <QMap>
#include <QString>

#include <memory>
#include <random>
#include <vector>

namespace soak
{

/// A host at work on one project: it plays steps of all kinds at random, those that fail among them, and knows what
/// each must answer. Every step is one command of the controller or the project, or one piece of work on a data set.
class Session
{
public:
    /// @param root  a directory of its own; project, LAS files, worker and settings lie below it
    Session(const QString &root, quint32 seed);
    ~Session();

    /// Opens the project with a new object.
    void begin();
    /// Plays each kind of step once, in the order of the table.
    void playAll();
    /// Plays one step.
    void play();
    /// Removes whatever the project holds, by commands, saves it and lets the object go.
    void end();

    /// How often each kind of step was played.
    const QMap<QString, int> &played() const { return m_played; }

private:
    struct Step;
    static const std::vector<Step> &steps();
    void play(const Step &step);

    // Session_Commands.cpp: the controller and the project
    void importLas();
    void importLasThatFails();
    void removeLas();
    void askForColumns();
    void make();
    void makeThatFails();
    void copy();
    void copyThatFails();
    void merge();
    void mergeThatFails();
    void rename();
    void renameThatFails();
    void remove();
    void commandsOnDamagedPoints();
    void save();
    void saveThatFails();
    void load();
    void loadThatFails();
    void run();
    void runThatFails();

    // Session_Contents.cpp: what a data set holds
    void read();
    void edit();
    void addMesh();
    void addSplit();
    void addCut();
    void addTerrain();
    void addDamagedTerrain();
    void removeContents();
    void volumes();
    void volumesThatFail();

    ptCloud::PtCloud_Controller &controller() { return *m_project->getController(); }
    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }
    QString path(const QString &name) const { return m_root + QLatin1Char('/') + name; }
    QString path(const char *name) const { return path(QString::fromUtf8(name)); }
    QString project() const { return path("project"); }
    QString freshName() { return QStringLiteral("set%1").arg(++m_names); }
    QStringList lasNames() const;
    /// Names of data sets, at least one: where there is none, one is made.
    QStringList dataSetNames();
    QString anyDataSetName();
    ptCloud::PtCloudDataSet &anyDataSet();
    /// Makes room, so that a project does not grow with the number of steps.
    void keepSmall();
    ptCloud::EEPtCloudActResult runScript(const char *script, const QString &dataSet, bool cancel = false,
                                          EPtCloud_Function function = Function_mesh_alpha);
    QString makeDamaged();

    QString m_root;
    std::mt19937 m_random;
    std::vector<std::unique_ptr<support::EnvironmentVariable>> m_environment;
    std::unique_ptr<ptCloud::PtCloud_Project> m_project;
    QMap<QString, int> m_played;
    int m_names = 0;
};

} // namespace soak
