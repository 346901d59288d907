#pragma once

#include "PtCloud_Types.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <vector>

namespace ptCloud
{
class LasFile;
}

/// What there is to know of a LAS file before points are made of it.
struct LasReport
{
    using Triple = std::array<double, 3>;

    QString file;
    bool loads = false;
    QString why; ///< why it does not load

    int versionMajor = 0;
    int versionMinor = 0;
    int format = 0;
    qint64 points = 0;    ///< records that can be read
    qint64 announced = 0; ///< records that the header tells
    Triple scale = {};
    Triple offset = {};
    Triple minimum = {};
    Triple maximum = {};
    bool isColor256 = false;
    QList<ptCloud::EDataSetColumn> columns;
    /// What makes positions differ from the true coordinates, in plain words; empty for an exact file.
    QStringList warnings;

    /// Whether positions are the true coordinates: scale 0.001 and offset 0.
    bool isExact() const;
    /// What a position is, compared with the true coordinate: (true - offset) times this.
    Triple factor() const;
    QJsonObject toJson() const;
};

/// Loads a file, looks at it and lets it go.
LasReport reportOnFile(const QString &path);
/// The same for a file that is loaded.
LasReport reportOnLoaded(const ptCloud::LasFile &las);

/// The columns to build from files: "all" are those that every file can supply, else the numbers told. Throws
/// `CommandError` for columns that no data set can be built with.
QList<ptCloud::EDataSetColumn> chooseColumns(const QString &wanted, const std::vector<LasReport> &files);
