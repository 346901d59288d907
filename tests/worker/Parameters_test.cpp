#include "Failure.h"
#include "Parameters.h"
#include "ResultFile.h"
#include "Results.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <functional>
#include <ostream>

namespace
{

Parameters withValue(const char *value)
{
    return Parameters({{QStringLiteral("key"), QString::fromUtf8(value)}});
}

/// The code and the message of the failure; nothing where there is none.
std::pair<ExitCode, QString> failureOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const Failure &failure) {
        return {failure.code(), failure.message()};
    }
    return {ExitCode::Success, {}};
}

void expectRefusal(const std::function<void()> &work, const char *message)
{
    const auto [code, told] = failureOf(work);
    EXPECT_EQ(code, ExitCode::Argument);
    EXPECT_EQ(told.toStdString(), message);
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

} // namespace

TEST(Parameters, TakesNumbersInTheirRange)
{
    EXPECT_EQ(withValue("2.5").number("key"), 2.5);
    EXPECT_EQ(withValue("1e-3").number("key", {0, 1}), 0.001);
    EXPECT_EQ(withValue("-7").number("key", {-7, 0}), -7);
    expectRefusal([] { withValue("-1").number("key", {0, 5}); }, "key is \"-1\": it must be a number from 0 to 5");
    for (const char *text : {"", "x", "1,5", "nan", "inf", "-inf", "1e999", "0x", "1 2"})
        expectRefusal([text] { withValue(text).number("key"); },
                      (std::string("key is \"") + text + "\": it must be a number").c_str());
}

TEST(Parameters, TakesWholeNumbersInTheirRange)
{
    EXPECT_EQ(withValue("42").integer("key"), 42);
    EXPECT_EQ(withValue("-2147483648").integer("key"), -2147483647 - 1);
    expectRefusal([] { withValue("2.5").integer("key", 1, 9); },
                  "key is \"2.5\": it must be a whole number from 1 to 9");
    for (const char *text : {"", "one", "nan", "4294967295", "1e300", "inf"})
        EXPECT_EQ(failureOf([text] { withValue(text).integer("key"); }).first, ExitCode::Argument) << text;
    EXPECT_EQ(failureOf([] { withValue("10").integer("key", 1, 9); }).first, ExitCode::Argument);
}

TEST(Parameters, TakesFlags)
{
    EXPECT_TRUE(withValue("true").flag("key"));
    EXPECT_TRUE(withValue("1").flag("key"));
    EXPECT_FALSE(withValue("false").flag("key"));
    EXPECT_FALSE(withValue("0").flag("key"));
    expectRefusal([] { withValue("maybe").flag("key"); }, "key is \"maybe\": it must be true or false");
}

TEST(Parameters, MissesKeys)
{
    expectRefusal([] { withValue("1").number("other"); }, "the settings lack the key other");
    expectRefusal([] { withValue("1").integer("other"); }, "the settings lack the key other");
    expectRefusal([] { withValue("1").flag("other"); }, "the settings lack the key other");
    EXPECT_EQ(withValue("1").text("other"), QString());
}

TEST(Parameters, ReadsWhatAHostWrites)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("settings.ini"));
    const QString odd = QString::fromUtf8("/a b/\xc3\xa4\xe2\x82\xac;x,y=\"z\"\\n");
    {
        QSettings settings(path, QSettings::IniFormat);
        settings.setValue(QStringLiteral("/section/function"), 100);
        settings.setValue(QStringLiteral("/section/source_filepath"), odd);
        settings.setValue(QStringLiteral("/section/epsilon"), 0.1);
        settings.setValue(QStringLiteral("/section/retainNoise"), true);
        settings.setValue(QStringLiteral("/section/dest_filepath"), QString());
    }
    const Parameters parameters = Parameters::fromFile(path);
    EXPECT_EQ(parameters.integer("function"), 100);
    EXPECT_EQ(parameters.text("source_filepath"), odd);
    EXPECT_EQ(parameters.number("epsilon"), 0.1);
    EXPECT_TRUE(parameters.flag("retainNoise"));
    EXPECT_EQ(parameters.text("dest_filepath"), QString());
}

TEST(Parameters, ReadsWhatPeopleWrite)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("settings.ini"));
    writeFile(path, "[section]\nfunction=1\nsource_filepath=/caf\xc3\xa9/a, b\n");
    const Parameters parameters = Parameters::fromFile(path);
    EXPECT_EQ(parameters.text("source_filepath"), QString::fromUtf8("/caf\xc3\xa9/a, b"));
}

TEST(Parameters, ReadsPastLinesThatAreNoSettings)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("settings.ini"));
    writeFile(path, "[section]\nfunction=1\nno setting\nalpha=2\n[broken\nalpha=3\n");
    const Parameters parameters = Parameters::fromFile(path);
    EXPECT_EQ(parameters.integer("function"), 1);
    EXPECT_EQ(parameters.number("alpha"), 2);
}

TEST(Parameters, RefusesFilesThatAreNoSettings)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("settings.ini"));
    const auto codeOf = [](const QString &file) { return failureOf([&file] { Parameters::fromFile(file); }).first; };
    EXPECT_EQ(codeOf(path), ExitCode::ConfigFile);
    EXPECT_EQ(codeOf(directory.path()), ExitCode::ConfigFile);
    EXPECT_EQ(codeOf(QString()), ExitCode::ConfigFile);
    for (const QByteArray &bytes : {QByteArray(), QByteArray("\0\1\2", 3), QByteArray("[section]\nalpha=1\n"),
                                    QByteArray("[other]\nfunction=1\n"), QByteArray("function=1\n")}) {
        writeFile(path, bytes);
        EXPECT_EQ(codeOf(path), ExitCode::ConfigFile) << bytes.constData();
    }
}

TEST(ResultFile, ComesIntoBeingWholeOrNotAtAll)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("result"));
    writeFile(path, "before");
    {
        const ResultFile result(path);
        writeFile(result.temporaryPath(), "half");
    }
    EXPECT_EQ(readFile(path), "before");
    {
        ResultFile result(path);
        writeFile(result.temporaryPath(), "whole");
        EXPECT_EQ(readFile(path), "before");
        result.commit();
    }
    EXPECT_EQ(readFile(path), "whole");
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files), QStringList{QStringLiteral("result")});
}

TEST(ResultFile, IsRefusedBeforeTheWork)
{
    const QTemporaryDir directory;
    const QString source = directory.filePath(QStringLiteral("source"));
    writeFile(source, "points");
    const auto codeOf = [&source](const QString &destination) {
        return failureOf([&] { ResultFile::check(destination, source); }).first;
    };
    EXPECT_EQ(codeOf(directory.filePath(QStringLiteral("result"))), ExitCode::Success);
    EXPECT_EQ(codeOf(QString()), ExitCode::WriteDest);
    EXPECT_EQ(codeOf(directory.path()), ExitCode::WriteDest);
    EXPECT_EQ(codeOf(directory.filePath(QStringLiteral("no/result"))), ExitCode::WriteDest);
    EXPECT_EQ(codeOf(source), ExitCode::WriteDest);
    EXPECT_EQ(codeOf(directory.filePath(QStringLiteral("./source"))), ExitCode::WriteDest);
    EXPECT_EQ(readFile(source), "points");
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files), QStringList{QStringLiteral("source")});
}

TEST(BlocksOfLabels, ComeBySizeThenByFirstPoint)
{
    const std::vector<int> labels{3, 0, 0, -1, 7, 7, 3, 0, -1, 5};
    const Blocks withNoise{{1, 2, 7}, {0, 6}, {4, 5}, {9}, {3, 8}};
    EXPECT_EQ(blocksOfLabels(labels, true), withNoise);
    EXPECT_EQ(blocksOfLabels(labels, false), Blocks(withNoise.begin(), withNoise.end() - 1));
}

TEST(BlocksOfLabels, MayBeNoneOrNoiseAlone)
{
    EXPECT_TRUE(blocksOfLabels({}, true).empty());
    EXPECT_TRUE(blocksOfLabels({-1, -1}, false).empty());
    EXPECT_EQ(blocksOfLabels({-1, -1}, true), (Blocks{{0, 1}}));
    EXPECT_EQ(blocksOfLabels({0}, true), (Blocks{{0}}));
}
