#include "CutStep.h"

namespace crash
{

namespace
{

const QString points = QStringLiteral("Points");
const QString newPoints = QStringLiteral("tmp_points");
const QString oldPoints = QStringLiteral("tmp_points_2");

bool isSame(const Files &a, const Files &b, const QString &file)
{
    return a.contains(file) == b.contains(file) && a.value(file) == b.value(file);
}

template <typename Map>
bool isSameEntry(const Map &a, const Map &b, const QString &key)
{
    return a.contains(key) == b.contains(key) && a.value(key) == b.value(key);
}

template <typename Map>
QStringList keysOf(const Map &a, const Map &b, const Map &c)
{
    QStringList keys = a.keys() + b.keys() + c.keys();
    keys.removeDuplicates();
    return keys;
}

QString fateOf(bool wasExpected, bool isThere)
{
    return QLatin1String(!isThere ? "missing " : wasExpected ? "changed " : "unexpected ");
}

/// Looks at one step that was cut off.
class CutStep
{
public:
    CutStep(const Step &step, const Project &before, const Project &after, const Project &found, QSet<Told> &told)
        : m_step(step), m_before(before), m_after(after), m_found(found), m_told(told)
    {}

    QStringList untold()
    {
        lookAtProjectFiles();
        const QStringList names = keysOf(m_before.directories, m_after.directories, m_found.directories);
        for (const QString &name : names) {
            const bool isOld = isSameEntry(m_found.directories, m_before.directories, name);
            const bool isNew = isSameEntry(m_found.directories, m_after.directories, name);
            if (!isOld && !isNew)
                lookAt(name);
            m_somethingIsOld = m_somethingIsOld || !isNew;
            m_somethingIsNew = m_somethingIsNew || !isOld;
        }
        lookAtOrder();
        return m_untold;
    }

private:
    bool is(const char *verb) const { return m_step.verb() == QLatin1String(verb); }
    bool isMerge() const { return is("merge"); }
    bool isSwap() const { return is("edit") || is("rebuild"); }
    void complain(const QString &line) { m_untold.append(line); }

    void lookAtProjectFiles()
    {
        const QStringList names = keysOf(m_before.files, m_after.files, m_found.files);
        for (const QString &name : names) {
            if (isSame(m_found.files, m_before.files, name) || isSame(m_found.files, m_after.files, name))
                continue;
            const QByteArray bytes = m_found.files.value(name);
            if (is("save") && name == Project::fileName() && m_after.files.value(name).startsWith(bytes))
                m_told.insert(bytes.size() < 4 ? Told::EmptyProjectFile : Told::CutProjectFile);
            else
                complain(QStringLiteral("the file %1 in the project").arg(name));
        }
    }

    /// A directory that is neither as before nor as behind.
    void lookAt(const QString &name)
    {
        if (isSwap() && name == m_step.word(1)) {
            lookAtSwap(name);
            return;
        }
        // A directory that has gone is one of the two; so it is there, with a mixture of files.
        const Files before = m_before.directories.value(name);
        const Files after = m_after.directories.value(name);
        const Files found = m_found.directories.value(name);
        if (!m_found.directories.contains(name)) {
            complain(QStringLiteral("the directory %1 is gone").arg(name));
            return;
        }
        const QStringList files = keysOf(before, after, found);
        for (const QString &file : files) {
            if (!isSame(found, before, file) && !isSame(found, after, file) && !isToldCut(name, file))
                complain(QStringLiteral("the file %1/%2").arg(name, file));
        }
        tell(name);
    }

    /// Whether a file that is neither as before nor as behind may be so.
    bool isToldCut(const QString &name, const QString &file) const
    {
        const Files found = m_found.directories.value(name);
        const Content content = found.value(file);
        const bool isPart = content.startsWith(partMark);
        if (is("make") || isMerge())
            return name == m_step.word(1) && file == points && isPart;
        if (is("copy")) // each file is replaced as a whole
            return name == m_step.word(2) && (!found.contains(file) || file.startsWith(QLatin1String("qt_temp.")));
        if (is("cut"))
            return file == m_step.word(2) + QStringLiteral(".cut") && isPart;
        const bool isInPlace = (is("volume") && file == QLatin1String("earth.volume"))
                               || (is("contours") && file == QLatin1String("dem.contour"));
        return isInPlace && name == m_step.word(1) && found.contains(file)
               && m_after.directories.value(name).value(file).startsWith(content);
    }

    void tell(const QString &name)
    {
        const bool isTarget = name == m_step.word(1);
        const bool isTakenOver = m_before.directories.value(name).contains(points);
        if (is("make") || (isMerge() && isTarget))
            m_told.insert(isTakenOver ? Told::HalfBuiltBeside : Told::HalfBuilt);
        else if (is("copy"))
            m_told.insert(Told::HalfCopied);
        else if (is("remove") || isMerge())
            m_told.insert(Told::HalfRemoved);
        else if (is("cut"))
            m_told.insert(Told::HalfWrittenCut);
        else if (is("volume"))
            m_told.insert(Told::CutVolumes);
        else if (is("contours"))
            m_told.insert(Told::CutContours);
        else
            complain(QStringLiteral("the directory %1").arg(name));
    }

    /// Points that are replaced stay whole under one of three names.
    void lookAtSwap(const QString &name)
    {
        Files rest = m_found.directories.value(name);
        const Content old = m_before.directories.value(name).value(points);
        const Content wanted = m_after.directories.value(name).value(points);
        const bool hasPoints = rest.contains(points);
        const bool hasNew = rest.contains(newPoints);
        const bool hasOld = rest.contains(oldPoints);
        const Content now = rest.take(points);
        const Content atNew = rest.take(newPoints);
        const Content atOld = rest.take(oldPoints);
        const bool isWriting =
            hasPoints && now == old && hasNew && !hasOld && (atNew == wanted || atNew.startsWith(partMark));
        const bool isBetween = !hasPoints && hasNew && atNew == wanted && hasOld && atOld == old;
        const bool isSwapped = hasPoints && now == wanted && !hasNew && hasOld && atOld == old;
        Files others = m_before.directories.value(name);
        others.remove(points);
        if (rest != others || !(isWriting || isBetween || isSwapped))
            complain(QStringLiteral("the points of %1 while they are replaced").arg(name));
        m_told.insert(isBetween ? Told::SwapWithoutPoints : Told::LeftTemporaryPoints);
    }

    /// What must not happen before something else has.
    void lookAtOrder()
    {
        if (is("rename") && m_somethingIsOld && m_somethingIsNew)
            complain(QStringLiteral("a directory under both names, or none"));
        if (!isMerge())
            return;
        const QString target = m_step.word(1);
        const bool isMerged = isSameEntry(m_found.directories, m_after.directories, target);
        for (const QString &source : m_step.rest(3)) {
            const bool isThere = isSameEntry(m_found.directories, m_before.directories, source);
            if (!isThere && !isMerged)
                complain(QStringLiteral("the source %1 went before the merge was whole").arg(source));
            if (isThere && isMerged && m_after.directories != m_before.directories)
                m_told.insert(Told::MergedBesideSources);
        }
    }

    const Step &m_step;
    const Project &m_before;
    const Project &m_after;
    const Project &m_found;
    QSet<Told> &m_told;
    QStringList m_untold;
    bool m_somethingIsOld = false;
    bool m_somethingIsNew = false;
};

} // namespace

const char *words(Told told)
{
    switch (told) {
    case Told::HalfBuilt:
        return "a build that was cut off leaves its directory, and in it points that do not open";
    case Told::HalfBuiltBeside:
        return "a build takes over a directory that no data set uses, so what lay there goes also when it is cut off";
    case Told::HalfCopied:
        return "a copy that was cut off leaves the directory as far as it was copied";
    case Told::HalfRemoved:
        return "a removal that was cut off leaves what it had not come to";
    case Told::MergedBesideSources:
        return "a merge that was cut off behind the new data set leaves sources beside it";
    case Told::CutProjectFile:
        return "an interrupted save leaves a shortened file, which opens as far as it goes";
    case Told::EmptyProjectFile:
        return "an interrupted save leaves a file without a version, which does not open";
    case Told::CutVolumes:
        return "volumes are written in place: a save that was cut off leaves them shortened";
    case Told::CutContours:
        return "contours are written in place: a save that was cut off leaves them shortened";
    case Told::HalfWrittenCut:
        return "a cut of points that is not whole does not open, and goes with the next load";
    case Told::LeftTemporaryPoints:
        return "points to be put in place, or those that were, lie beside the sound ones until the next load";
    case Told::SwapWithoutPoints:
        return "between two renames there is no file Points: old and new lie whole beside it, the data set does not "
               "load";
    case Told::NotSavedYet:
        return "what was done since the last save is not in the registry; the directories are there";
    case Told::EntryWithoutPoints:
        return "an entry of the project file whose directory is gone or holds no sound points is not registered";
    }
    return "";
}

QStringList findUntold(const Step &step, const Project &before, const Project &after, const Project &found,
                       QSet<Told> &told)
{
    return CutStep(step, before, after, found, told).untold();
}

QStringList differences(const Project &expected, const Project &found)
{
    QStringList lines;
    const auto compare = [&lines](const Files &a, const Files &b, const QString &place) {
        for (const QString &file : keysOf(a, b, Files())) {
            if (!isSame(a, b, file))
                lines.append(fateOf(a.contains(file), b.contains(file)) + place + file);
        }
    };
    compare(expected.files, found.files, QString());
    for (const QString &name : keysOf(expected.directories, found.directories, QMap<QString, Files>())) {
        if (expected.directories.contains(name) != found.directories.contains(name))
            lines.append(fateOf(expected.directories.contains(name), found.directories.contains(name)) + name);
        compare(expected.directories.value(name), found.directories.value(name), name + QLatin1Char('/'));
    }
    return lines;
}

} // namespace crash
