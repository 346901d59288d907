#pragma once

#include "CrashStep.h"

#include "PtCloudDataSet.h"
#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <random>

namespace crash
{

/// A host at work on a project: thinks of steps, and carries them out through the public interface.
class HostSteps
{
public:
    /// @param lasDir  where the LAS files of the surveys lie
    HostSteps(const QString &projectDir, const QString &lasDir, quint32 seed);

    /// The first step of every host.
    static Step opening() { return {{QStringLiteral("open")}}; }
    Step next();
    /// The result of a command; 1 or 0 for what is none.
    int run(const Step &step);

private:
    int below(int limit) { return static_cast<int>(m_random() % static_cast<quint32>(limit)); }
    QString pick(const QStringList &names) { return names.at(below(names.size())); }
    QString anyName();
    QString known();
    int pointsOf(const QString &name) const;
    QString registeredLas();
    QStringList mergeSources();
    QString editedSet(int atLeast);

    int open();
    int importLas(const Step &step);
    int forgetLas(const Step &step);
    int make(const Step &step);
    int copy(const Step &step);
    int merge(const Step &step);
    int rename(const Step &step);
    int remove(const Step &step);
    int edit(const Step &step);
    int rebuild(const Step &step);
    int cut(const Step &step);
    int uncut(const Step &step);
    int volume(const Step &step);
    int contours(const Step &step);
    int save();

    static bool writeWithoutPart(const ptCloud::PtCloudDataSet &dataSet, int part, ptCloud::PtCloud_DataSetFile &file);

    QString m_projectDir;
    QString m_lasDir;
    std::mt19937 m_random;
    ptCloud::PtCloud_Project m_project;
    ptCloud::PtCloud_Controller &m_controller = *m_project.getController();
};

} // namespace crash
