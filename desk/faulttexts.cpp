#include "desk/faulttexts.h"

#include "desk/patterntexts.h"

#include <QCoreApplication>

namespace desk {

namespace {

/// What is wrong with a scenario, a file or the client; %1 and so on stand for what is filled in.
const char* const FAULT_TEXTS[] = {
    QT_TRANSLATE_NOOP("FaultText", "field \"%1\": %2"),
    QT_TRANSLATE_NOOP("FaultText", "%1: missing field \"%2\""),
    QT_TRANSLATE_NOOP("FaultText", "missing field \"%1\""),
    QT_TRANSLATE_NOOP("FaultText", "missing field \"seconds\" or \"to\""),
    QT_TRANSLATE_NOOP("FaultText", "\"seconds\" and \"to\" in one line"),
    QT_TRANSLATE_NOOP("FaultText", "wrong type"),
    QT_TRANSLATE_NOOP("FaultText", "wrong type: %1 is needed, not %2"),
    QT_TRANSLATE_NOOP("FaultText", "a list"),
    QT_TRANSLATE_NOOP("FaultText", "an object"),
    QT_TRANSLATE_NOOP("FaultText", "a text"),
    QT_TRANSLATE_NOOP("FaultText", "true or false"),
    QT_TRANSLATE_NOOP("FaultText", "null"),
    QT_TRANSLATE_NOOP("FaultText", "a number"),
    QT_TRANSLATE_NOOP("FaultText", "a whole number"),
    QT_TRANSLATE_NOOP("FaultText", "number out of range: %1"),
    QT_TRANSLATE_NOOP("FaultText", "number out of range: %1 is not within %2 to %3"),
    QT_TRANSLATE_NOOP("FaultText", "number out of range: %1 is less than %2"),
    QT_TRANSLATE_NOOP("FaultText", "number out of range: %1 is more than %2"),
    QT_TRANSLATE_NOOP("FaultText", "number out of range: time ends in 2106"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no date \"yyyyMMdd\""),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no date and time"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no time \"hhmm\""),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" has passed"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is neither \"%2\" nor \"%3\""),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no service"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no kind of fault"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no step of the disk"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no error of the disk"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no plain file name"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is unknown"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" cannot be written: %2"),
    QT_TRANSLATE_NOOP("FaultText", "the list has more than %1 values"),
    QT_TRANSLATE_NOOP("FaultText", "value %1 of the list is missing"),
    QT_TRANSLATE_NOOP("FaultText", "a book has at most %1 levels"),
    QT_TRANSLATE_NOOP("FaultText", "unknown \"do\": \"%1\""),
    QT_TRANSLATE_NOOP("FaultText", "unknown \"op\": \"%1\""),
    QT_TRANSLATE_NOOP("FaultText", "%1 takes %2 arguments, not %3"),
    QT_TRANSLATE_NOOP("FaultText", "%1 to %2"),
    QT_TRANSLATE_NOOP("FaultText", "account \"%1\" has no \"account\" line"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" needs the paper exchange"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" without a manager"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" before \"config\""),
    QT_TRANSLATE_NOOP("FaultText", "a second \"config\""),
    QT_TRANSLATE_NOOP("FaultText", "there is no command %1"),
    QT_TRANSLATE_NOOP("FaultText", "a line must be a JSON object"),
    QT_TRANSLATE_NOOP("FaultText", "not JSON: %1"),
    QT_TRANSLATE_NOOP("FaultText", "This parser can't support a document that big"),
    QT_TRANSLATE_NOOP("FaultText", "Error allocating memory, we're most likely out of memory"),
    // One text: NOLINTNEXTLINE(bugprone-suspicious-missing-comma)
    QT_TRANSLATE_NOOP("FaultText",
                      "The JSON document has an improper structure: missing or superfluous commas, "
                      "braces, missing keys, etc."),
    QT_TRANSLATE_NOOP("FaultText",
                      "The JSON document was too deep (too many nested objects and arrays)"),
    QT_TRANSLATE_NOOP("FaultText", "Problem while parsing a string"),
    QT_TRANSLATE_NOOP("FaultText", "Problem while parsing an atom starting with the letter '%1'"),
    QT_TRANSLATE_NOOP("FaultText", "Problem while parsing a number"),
    QT_TRANSLATE_NOOP("FaultText", "The input is not valid UTF-8"),
    QT_TRANSLATE_NOOP("FaultText", "Empty: no JSON found"),
    QT_TRANSLATE_NOOP(
        "FaultText",
        "Within strings, some characters must be escaped, we found unescaped characters"),
    QT_TRANSLATE_NOOP("FaultText", "A string is opened, but never closed."),
    QT_TRANSLATE_NOOP("FaultText", "compressed data: %1"),
    QT_TRANSLATE_NOOP("FaultText", "unexpected end of file"),
    QT_TRANSLATE_NOOP("FaultText", "damaged"),
    QT_TRANSLATE_NOOP("FaultText", "incorrect header check"),
    QT_TRANSLATE_NOOP("FaultText", "unknown compression method"),
    QT_TRANSLATE_NOOP("FaultText", "invalid window size"),
    QT_TRANSLATE_NOOP("FaultText", "unknown header flags set"),
    QT_TRANSLATE_NOOP("FaultText", "header crc mismatch"),
    QT_TRANSLATE_NOOP("FaultText", "invalid block type"),
    QT_TRANSLATE_NOOP("FaultText", "invalid stored block lengths"),
    QT_TRANSLATE_NOOP("FaultText", "too many length or distance symbols"),
    QT_TRANSLATE_NOOP("FaultText", "invalid code lengths set"),
    QT_TRANSLATE_NOOP("FaultText", "invalid bit length repeat"),
    QT_TRANSLATE_NOOP("FaultText", "invalid code -- missing end-of-block"),
    QT_TRANSLATE_NOOP("FaultText", "invalid literal/lengths set"),
    QT_TRANSLATE_NOOP("FaultText", "invalid distances set"),
    QT_TRANSLATE_NOOP("FaultText", "invalid literal/length code"),
    QT_TRANSLATE_NOOP("FaultText", "invalid distance code"),
    QT_TRANSLATE_NOOP("FaultText", "invalid distance too far back"),
    QT_TRANSLATE_NOOP("FaultText", "incorrect data check"),
    QT_TRANSLATE_NOOP("FaultText", "incorrect length check"),
    QT_TRANSLATE_NOOP("FaultText", "No such file or directory"),
    QT_TRANSLATE_NOOP("FaultText", "Permission denied"),
    QT_TRANSLATE_NOOP("FaultText", "Is a directory"),
    QT_TRANSLATE_NOOP("FaultText", "Not a directory"),
    QT_TRANSLATE_NOOP("FaultText", "Input/output error"),
    QT_TRANSLATE_NOOP("FaultText", "Too many open files"),
    QT_TRANSLATE_NOOP("FaultText", "No space left on device"),
    QT_TRANSLATE_NOOP("FaultText", "Read-only file system"),
    QT_TRANSLATE_NOOP("FaultText", "Disk quota exceeded"),
    QT_TRANSLATE_NOOP("FaultText", "File name too long"),
    QT_TRANSLATE_NOOP("FaultText", "Too many levels of symbolic links"),
    QT_TRANSLATE_NOOP("FaultText", "Value too large for defined data type"),
    QT_TRANSLATE_NOOP("FaultText", "Stale file handle"),
    QT_TRANSLATE_NOOP("FaultText", "no temporary directory can be made: %1"),
    QT_TRANSLATE_NOOP("FaultText", "the service %1 failed"),
    QT_TRANSLATE_NOOP("FaultText", "no order"),
    QT_TRANSLATE_NOOP("FaultText", "no connection"),
    QT_TRANSLATE_NOOP("FaultText", "is no recording: \"recorded\" is missing"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" has no microseconds"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" is no place in the directory"),
    QT_TRANSLATE_NOOP("FaultText", "%1 cannot be written"),
    QT_TRANSLATE_NOOP("FaultText", "a step before \"config\""),
    QT_TRANSLATE_NOOP("FaultText", "\"picture\" behind a step"),
    QT_TRANSLATE_NOOP("FaultText", "%1 is no work that can wait"),
    QT_TRANSLATE_NOOP("FaultText", "no such step goes on"),
    QT_TRANSLATE_NOOP("FaultText", "a mark without a step"),
    QT_TRANSLATE_NOOP("FaultText", "\"%1\" without a step"),
    QT_TRANSLATE_NOOP("FaultText", "there is no such record"),
    QT_TRANSLATE_NOOP("FaultText", "no step has left this work"),
    QT_TRANSLATE_NOOP("FaultText", "the statement cannot be written: %1"),
    QT_TRANSLATE_NOOP("FaultText", "is no answer to \"%1\""),
    QT_TRANSLATE_NOOP("FaultText", "there is no memory"),
    QT_TRANSLATE_NOOP("FaultText", "the disk cannot follow"),
    QT_TRANSLATE_NOOP("FaultText", "the file has its full size"),
    QT_TRANSLATE_NOOP("FaultText", "the file cannot be made: %1"),
};

}  // namespace

QString faultText(const QString& text) {
    static const CPatternTexts KNOWN("FaultText", FAULT_TEXTS);
    return KNOWN.translated(text);
}

std::string faultText(const char* text) { return faultText(QString::fromUtf8(text)).toStdString(); }

QStringList faultTextSources() { return textsOf(FAULT_TEXTS); }

}  // namespace desk
