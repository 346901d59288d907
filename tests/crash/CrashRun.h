#pragma once

#include "CutStep.h"
#include "KilledHost.h"
#include "ProjectModel.h"

#include <QTemporaryDir>

#include <map>
#include <ostream>

namespace ptCloud
{
class PtCloudDataSet;
class PtCloud_Controller;
} // namespace ptCloud

namespace crash
{

/// Kills hosts at work on one project after the other, and looks after each kill at what is left.
class CrashRun
{
public:
    explicit CrashRun(quint32 seed);

    /// Kills one host at work on what the last one left. Gives what is wrong with the project then, one line each.
    QStringList killOne();
    /// Lets a host take these steps in an empty project, and kills it at a call within the last of them. Likewise, and
    /// tells whether the host was killed, or the last step has fewer calls.
    QStringList killWithinLast(const QStringList &lines, long call, bool &isKilled);

    int kills() const { return m_kills; }
    /// The table of all kills so far.
    void print(std::ostream &out) const;

private:
    struct Count
    {
        int begun = 0;
        int killed = 0;
    };

    void startAfresh();
    void putStray();
    QStringList lookAt(const HostOrder &order, const HostEnd &end);
    void replay(const std::vector<JournalEntry> &journal);
    void lookAtDisk(const JournalEntry &last);
    void openAgain();
    void recover(ptCloud::PtCloud_Controller &controller, const QMap<QString, QString> &lasFiles);
    void compareWithModel(ptCloud::PtCloud_Controller &controller);
    void compareContents(const QString &name, const ptCloud::PtCloudDataSet &dataSet);
    void countWhatIsGone(const Project &before);
    void complain(const QString &line) { m_wrong.append(line); }
    QString projectDir() const { return m_dir.filePath(QStringLiteral("project")); }

    QTemporaryDir m_dir;
    std::mt19937 m_random;
    ProjectModel m_model;
    Project m_project; ///< as it must be now
    QStringList m_wrong;
    QSet<Told> m_told; ///< met at this kill

    int m_kills = 0;
    int m_byTheClock = 0;
    int m_betweenSteps = 0;
    int m_projects = 0;
    int m_failures = 0;
    std::map<QString, Count> m_counts;
    int m_toldCounts[toldCount] = {};
};

} // namespace crash
