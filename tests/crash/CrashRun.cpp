#include "CrashRun.h"

#include "ProjectReading.h"
#include "Survey.h"

#include "Bytes.h"

#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <QDir>

#include <iomanip>

namespace crash
{

namespace
{

constexpr quint32 killsOfAProject = 12; ///< on an average, until one is started afresh

} // namespace

CrashRun::CrashRun(quint32 seed) : m_random(seed), m_model(m_dir.filePath(QStringLiteral("las")))
{
    QDir(m_dir.path()).mkpath(QStringLiteral("las"));
    for (int survey = 1; survey <= lasSurveys; ++survey)
        surveyLas(survey).write(m_dir.filePath(QStringLiteral("las/") + lasName(survey)));
    startAfresh();
}

void CrashRun::startAfresh()
{
    ++m_projects;
    QDir(projectDir()).removeRecursively();
    QDir().mkpath(projectDir());
    m_project = Project();
}

/// Puts a file into the project which has no part in it, and waits to be swept.
void CrashRun::putStray()
{
    const QString name = QStringLiteral("notes.txt");
    support::writeFile(projectDir() + QLatin1Char('/') + name, "stray");
    m_project.files[name] = "stray";
}

QStringList CrashRun::killOne()
{
    if (m_random() % killsOfAProject == 0)
        startAfresh();
    putStray();
    const HostOrder order = HostOrder::random(m_random);
    const HostEnd end = runHost(m_dir.path(), order);
    lookAt(order, end);
    if (!end.isKilled)
        complain(order.text() + QStringLiteral(" was not killed"));
    return m_wrong;
}

QStringList CrashRun::killWithinLast(const QStringList &lines, long call, bool &isKilled)
{
    startAfresh();
    putStray();
    HostOrder order;
    order.lines = lines;
    order.step = lines.size() - 1;
    order.call = call;
    order.share = 128;
    const HostEnd end = runHost(m_dir.path(), order);
    isKilled = end.isKilled;
    return lookAt(order, end);
}

/// Compares what a host left with the model. What is wrong is also counted, and the project given up.
QStringList CrashRun::lookAt(const HostOrder &order, const HostEnd &end)
{
    m_wrong.clear();
    m_told.clear();
    ++m_kills;
    m_byTheClock += order.microseconds.has_value() ? 1 : 0;
    replay(end.journal);
    if (m_wrong.isEmpty())
        openAgain();
    for (const Told told : qAsConst(m_told))
        ++m_toldCounts[static_cast<int>(told)];
    if (!m_wrong.isEmpty()) {
        ++m_failures;
        const QString step = end.journal.empty() ? QString() : end.journal.back().step.text();
        m_wrong.prepend(QStringLiteral("kill %1, %2, step %3: %4")
                            .arg(m_kills)
                            .arg(order.text())
                            .arg(end.journal.size())
                            .arg(step));
        startAfresh();
    }
    return m_wrong;
}

/// Takes the model through what the host did, and compares the disk with it.
void CrashRun::replay(const std::vector<JournalEntry> &journal)
{
    JournalEntry last;
    last.hasEnded = true;
    for (const JournalEntry &entry : journal) {
        Count &count = m_counts[entry.step.verb()];
        ++count.begun;
        last = entry;
        if (!entry.hasEnded) {
            ++count.killed;
            break;
        }
        const int expected = m_model.apply(m_project, entry.step);
        if (entry.result != expected) {
            complain(QStringLiteral("%1 gave %2 instead of %3").arg(entry.step.text()).arg(entry.result).arg(expected));
            return;
        }
    }
    lookAtDisk(last);
}

/// Compares the disk with what the last step may have left, and takes it over as the state to go on with.
void CrashRun::lookAtDisk(const JournalEntry &last)
{
    const Project found = readProject(projectDir());
    if (last.hasEnded) {
        ++m_betweenSteps;
        m_wrong += differences(m_project, found);
    } else {
        Project after = m_project;
        m_model.apply(after, last.step);
        m_wrong += findUntold(last.step, m_project, after, found, m_told);
    }
    m_project.directories = found.directories;
    m_project.files = found.files;
}

/// Opens the project through the public interface, as the host would when it is started again.
void CrashRun::openAgain()
{
    const Project before = m_project;
    const bool opens = m_model.apply(m_project, {{QStringLiteral("open")}}) == 1;
    ptCloud::PtCloud_Project project;
    if (project.loadProject(projectDir(), nullptr) != opens)
        complain(QLatin1String(opens ? "the project does not open" : "a project file without a version opens"));
    if (opens)
        countWhatIsGone(before);
    const bool isCut = m_told.contains(Told::CutProjectFile) || m_told.contains(Told::EmptyProjectFile);
    if (isCut || m_random() % 4 == 0) {
        project.setDir(projectDir());
        recover(*project.getController(), before.lasFiles);
        project.save(projectDir(), nullptr);
        m_model.apply(m_project, {{QStringLiteral("save")}});
    }
    compareWithModel(*project.getController());
}

void CrashRun::countWhatIsGone(const Project &before)
{
    if (before.dataSets != m_project.dataSets || before.lasFiles != m_project.lasFiles)
        m_told.insert(Told::NotSavedYet);
    Project saved = m_project;
    if (saved.fileBytes() != m_project.files.value(Project::fileName()))
        m_told.insert(Told::EntryWithoutPoints);
}

/// Registers every data set that there is: nothing but the registry can be lost.
void CrashRun::recover(ptCloud::PtCloud_Controller &controller, const QMap<QString, QString> &lasFiles)
{
    QSet<QString> dataSets;
    QMap<QString, QString> entries;
    for (const QString &name : m_project.directories.keys()) {
        dataSets.insert(name);
        entries[name] = name;
    }
    controller.setFiles(lasFiles, entries, {Project::fileName()});
    ProjectModel::restore(m_project, lasFiles, dataSets);
}

void CrashRun::compareWithModel(ptCloud::PtCloud_Controller &controller)
{
    m_wrong += differences(m_project, readProject(projectDir()));
    QMap<QString, QString> lasFiles;
    controller.getLasFilepaths(lasFiles);
    if (lasFiles != m_project.lasFiles)
        complain(QStringLiteral("other LAS files are registered"));
    const auto dataSets = controller.getDataSets();
    const QStringList names = dataSets.keys();
    if (QSet<QString>(names.begin(), names.end()) != m_project.dataSets)
        complain(QStringLiteral("the data sets %1 are registered").arg(names.join(QLatin1Char(' '))));
    for (auto it = dataSets.cbegin(); it != dataSets.cend(); ++it)
        compareContents(it.key(), **it);
    QStringList besides = QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (const QString &known : {QStringLiteral("project"), QStringLiteral("las"), QStringLiteral("journal")})
        besides.removeOne(known);
    if (!besides.isEmpty())
        complain(QStringLiteral("beside the project lie ") + besides.join(QLatin1Char(' ')));
}

void CrashRun::compareContents(const QString &name, const ptCloud::PtCloudDataSet &dataSet)
{
    const Showing shown = showingOf(dataSet);
    const Showing expected = showingOf(m_project.directories.value(name));
    if (shown.keys() != expected.keys())
        complain(QStringLiteral("%1 shows %2").arg(name, shown.keys().join(QLatin1Char(' '))));
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        if (shown.value(it.key()) != *it)
            complain(QStringLiteral("%1 shows other contents in %2").arg(name, it.key()));
    }
}

void CrashRun::print(std::ostream &out) const
{
    const int inside = m_kills - m_betweenSteps;
    out << "kills " << m_kills << " (" << m_byTheClock << " by the clock, " << m_kills - m_byTheClock
        << " at a call), on " << m_projects << " projects\n"
        << "inside a step " << inside << ", between two " << m_betweenSteps << "\n\n"
        << std::left << std::setw(12) << "step" << std::right << std::setw(8) << "begun" << std::setw(8) << "killed"
        << "\n";
    for (const auto &[verb, count] : m_counts)
        out << std::left << std::setw(12) << verb.toStdString() << std::right << std::setw(8) << count.begun
            << std::setw(8) << count.killed << "\n";
    out << "\nkills after which was met\n";
    for (int i = 0; i < toldCount; ++i)
        out << std::setw(6) << m_toldCounts[i] << "  " << words(static_cast<Told>(i)) << "\n";
    out << "\nfailures " << m_failures << std::endl;
}

} // namespace crash
