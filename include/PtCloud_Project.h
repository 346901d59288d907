#pragma once

#include "points_cloud_global.h"

#include <QString>

#include <memory>

namespace ptCloud
{

class PtCloud_Controller;

/// A project: the one object that a host creates first. It owns the controller and keeps `points_cloud.pcproj` in the
/// project directory, which records the LAS files by path and the data sets by directory name.
///
///     PtCloud_Project project;
///     if (!project.loadProject(dir, nullptr)) // deletes what has no part in the project: see below
///         project.setDir(dir);                // a new one
///     project.getController()->doCmd_LasFile_Import({path}, nullptr);
///     project.save(dir, nullptr);
///
/// No command saves by itself. Copies name one and the same controller, which goes with the last of them. Everything
/// runs on the caller's thread, and not during a command of the controller.
class POINTS_CLOUD_EXPORT PtCloud_Project
{
public:
    PtCloud_Project();
    ~PtCloud_Project();
    PtCloud_Project(const PtCloud_Project &other);
    PtCloud_Project &operator=(const PtCloud_Project &other);

    /// Does nothing.
    void clear();
    PtCloud_Controller *getController();

    /// Sets the controller's project directory.
    void setDir(const QString &dir);
    bool isDataSetEmpty() const;

    /// Opens the project in a directory. **Every other plain file directly in it is deleted**, and so is every plain
    /// file without a part in a data set's own directory. LAS files that are gone and data sets that do not load are
    /// left out. False, with nothing changed, without a readable project file, for another version and for a negative
    /// count. A file that was cut loads as far as it goes.
    ///
    /// @param errorString  not used
    bool loadProject(const QString &dir, QString *errorString);

    /// Writes the project file, in place, into a directory that exists. False where it can't be opened.
    ///
    /// @param errorString  not used
    bool save(const QString &dir, QString *errorString) const;

private:
    std::shared_ptr<PtCloud_Controller> m_controller;
};

} // namespace ptCloud
