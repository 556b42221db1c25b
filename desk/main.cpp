#include "desk/engine.h"
#include "desk/fluency.h"
#include "desk/mainwindow.h"
#include "desk/shot.h"
#include "desk/style.h"
#include "desk/texts.h"
#include "linkage/version.h"
#include "replay/recordingplayer.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QLocale>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTime>
#include <QTimer>

#include <optional>

namespace {

constexpr int TOO_SLOW = 1;
constexpr int USAGE_ERROR = 2;
constexpr double FASTEST = 1000.0;

struct Arguments {
    desk::EngineOptions engine;
    QString shot;
    QSize size;
    QLocale locale;
    std::optional<desk::FluencyTerms> measure;
    std::optional<QString> record;  ///< directory
};

int refuse(const QString& text) {
    QTextStream(stderr) << "linkage-desk: " << text << '\n';
    return USAGE_ERROR;
}

/// How fluent the window is, measured with clicks.
struct MeasureOptions {
    QCommandLineOption clicks{"measure",
                              "Click so many times at random moments while the day plays (at\n"
                              "1,000 times its speed unless --speed is given), without a display;\n"
                              "print how soon the rows were painted and exit.",
                              "N"};
    QCommandLineOption atMost{"at-most",
                              "With --measure: fail when the 99th percentile takes longer.", "MS"};
    QCommandLineOption seed{"seed", "With --measure: which moments and clicks.", "N", "1"};

    /// Empty, or what is wrong.
    QString read(const QCommandLineParser& parser, Arguments& arguments) const {
        if (!parser.isSet(clicks)) return {};
        desk::FluencyTerms terms;
        terms.clicks = parser.value(clicks).toInt();
        terms.seed = parser.value(seed).toUInt();
        terms.atMost = parser.value(atMost).toDouble();
        if (terms.clicks < 1) return "--measure takes a number of clicks";
        if (parser.isSet(atMost) && !(terms.atMost > 0.0))
            return "--at-most takes a number of milliseconds";
        if (!parser.isSet("speed")) arguments.engine.speed = FASTEST;
        arguments.measure = terms;
        return {};
    }
};

constexpr char RECORD_DIRECTORY[] = "record/directory";
constexpr char RECORD_EVERY[] = "record/everySession";
constexpr char RECORD_MOST[] = "record/mostBytes";
constexpr char RECORD_DAYS[] = "record/mostDays";

/// As the user has chosen, here or in an earlier session.
desk::RecordTerms recordTerms(const Arguments& arguments, const QSettings* settings) {
    desk::RecordTerms terms;
    terms.directory = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                      QStringLiteral("/recordings");
    if (settings) {
        terms.directory = settings->value(RECORD_DIRECTORY, terms.directory).toString();
        terms.everySession = settings->value(RECORD_EVERY, false).toBool();
        terms.mostBytes = settings->value(RECORD_MOST, qulonglong(terms.mostBytes)).toULongLong();
        terms.mostDays = settings->value(RECORD_DAYS, terms.mostDays).toUInt();
    }
    if (!arguments.record) return terms;
    terms.directory = *arguments.record;
    terms.everySession = true;
    return terms;
}

void save(const desk::RecordTerms& terms, QSettings& settings) {
    settings.setValue(RECORD_DIRECTORY, terms.directory);
    settings.setValue(RECORD_EVERY, terms.everySession);
    settings.setValue(RECORD_MOST, qulonglong(terms.mostBytes));
    settings.setValue(RECORD_DAYS, terms.mostDays);
    settings.sync();
}

/// Empty when the arguments can be understood, else what is wrong.
QString readArguments(const QCoreApplication& application, Arguments& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Shows the linkage library at work: on the built-in market, live, or on a scenario or\n"
        "a recording at any speed.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("FILE", "Scenario or recording, plain or compressed with gzip.",
                                 "[FILE]");
    const QCommandLineOption speed("speed", "Speed of a scenario or recording, 1 to 1000.", "N",
                                   "60");
    const QCommandLineOption halt(
        "until", "Halt a scenario or recording at this time of day; in a window Play goes on.",
        "HH:MM");
    const QCommandLineOption dir("data-dir", "The client's data directory; else a temporary one.",
                                 "DIR");
    const QCommandLineOption record(
        "record", "Record this session, from its start, into files of DIR.", "DIR");
    const QCommandLineOption lang("lang", "Language (zh_CN or en); else the system's.", "NAME");
    const QCommandLineOption size("size", "Size of the window in pixels.", "WxH");
    const QCommandLineOption shot(
        "shot", "Play the scenario without a display, save a picture of the window and exit.",
        "FILE.png");
    const MeasureOptions measure;
    parser.addOptions(
        {speed, halt, dir, record, lang, size, shot, measure.clicks, measure.atMost, measure.seed});
    parser.process(application);

    const QStringList files = parser.positionalArguments();
    if (files.size() > 1) return "more than one scenario";
    if (!files.isEmpty()) arguments.engine.scenario = files.front();
    const bool isRecording = replay::isRecording(arguments.engine.scenario.toStdString());
    if (isRecording && (parser.isSet(dir) || parser.isSet(record)))
        return "--data-dir and --record do not go with a recording";
    arguments.engine.speed = parser.value(speed).toDouble();
    if (!(arguments.engine.speed >= 1.0 && arguments.engine.speed <= FASTEST))
        return "--speed takes a number from 1 to 1000";
    arguments.engine.haltAt = parser.value(halt).toStdString();
    if (parser.isSet(halt) && !QTime::fromString(parser.value(halt), "HH:mm").isValid())
        return "--until takes a time as HH:MM";
    arguments.engine.dataDir = parser.value(dir);
    if (parser.isSet(record)) arguments.record = parser.value(record);
    arguments.locale = parser.isSet(lang) ? QLocale(parser.value(lang)) : QLocale::system();
    const bool isAlone = parser.isSet(shot) || parser.isSet(measure.clicks);  // without a display
    const QString sizeText =
        isAlone && !parser.isSet(size) ? QString("1600x940") : parser.value(size);
    const QStringList sides = sizeText.split('x');
    arguments.size = sides.size() == 2 ? QSize(sides[0].toInt(), sides[1].toInt()) : QSize();
    if (!sizeText.isEmpty() && arguments.size.isEmpty())
        return "--size takes a size as WIDTHxHEIGHT";
    arguments.shot = parser.value(shot);
    if (parser.isSet(shot) && arguments.engine.scenario.isEmpty()) return "--shot needs a scenario";
    return measure.read(parser, arguments);
}

/// Taking a picture and measuring need no display. Qt chooses its platform before the arguments are
/// parsed, so they are looked at here.
void chooseTheDisplay(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument = argv[i];
        const bool needsNone = argument.startsWith("--shot") || argument.startsWith("--measure") ||
                               argument == "--help" || argument == "-h";
        if (needsNone && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
    }
}

/// Runs until all clicks are answered.
int measureFluency(desk::CMainWindow& window, desk::CEngine& engine,
                   const desk::FluencyTerms& terms) {
    desk::CFluency fluency(window, terms);
    QObject::connect(&fluency, &desk::CFluency::sigDone, &QCoreApplication::quit);
    QString fault;
    QObject::connect(&window, &desk::CMainWindow::sigFault, &fluency, [&](const QString& text) {
        fault = text;
        QCoreApplication::quit();
    });
    engine.start();
    QApplication::exec();
    if (!fault.isEmpty()) return refuse(fault);
    QTextStream(stdout) << fluency.report();
    return fluency.isWell() ? 0 : TOO_SLOW;
}

}  // namespace

int main(int argc, char** argv) {
    chooseTheDisplay(argc, argv);
    QApplication application(argc, argv);
    QApplication::setApplicationVersion(TC::loadedVersion());
    QCoreApplication::setApplicationName("linkage-desk");

    Arguments arguments;
    const QString fault = readArguments(application, arguments);
    if (!fault.isEmpty()) return refuse(fault);
    std::optional<QTemporaryDir> temporary;
    if (arguments.engine.dataDir.isEmpty()) arguments.engine.dataDir = temporary.emplace().path();

    const desk::CTranslation translation(arguments.locale);
    desk::style::apply(application);
    if (!arguments.shot.isEmpty()) arguments.engine.speed = desk::UNPACED;
    // A picture shows the window as it begins, and clicks are measured on it.
    const bool isKept = arguments.shot.isEmpty() && !arguments.measure;
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, "linkage", "linkage-desk");
    arguments.engine.record = recordTerms(arguments, isKept ? &settings : nullptr);
    desk::CEngine engine(arguments.engine);
    desk::CMainWindow window(engine);
    QObject::connect(&window, &desk::CMainWindow::sigRecordingChosen, &window,
                     [&window, &settings] { save(window.recordTerms(), settings); });
    if (isKept) window.restoreFrom(settings);
    if (!arguments.size.isEmpty()) window.resize(arguments.size);
    static_cast<QWidget&>(window).show();
    if (arguments.measure) return measureFluency(window, engine, *arguments.measure);

    QString shotFault;
    if (!arguments.shot.isEmpty())
        desk::takeShot(window, arguments.shot, [&](const QString& text) {
            shotFault = text;
            QCoreApplication::quit();
        });
    engine.start();
    const int status = QApplication::exec();
    if (isKept) window.saveTo(settings);
    if (!shotFault.isEmpty()) return refuse(shotFault);
    return status;
}
