#pragma once

#include "linkage/store/import/workbook.h"

#include <QByteArray>
#include <QString>

namespace TC::statement {

class CArchive;

// Each reader takes the whole file and throws Refusal when it cannot vouch for it.

/// Text in UTF-8, UTF-16 with a mark, or GB18030: separated by commas, tabs or pipes, or
/// aligned with two blanks and more.
CWorkbook readText(const QByteArray& bytes);
/// The tables of a web page, in the encodings of texts.
CWorkbook readWebPage(const QByteArray& utf8);
/// A zipped XML workbook (.xlsx).
CWorkbook readXlsx(const QByteArray& bytes);
/// A zipped workbook of the open document format (.ods).
CWorkbook readOds(CArchive& archive);
/// A binary workbook (.xls, BIFF8).
CWorkbook readXls(const QByteArray& bytes);

enum class EFormat { Text, Xlsx, Xls };

/// What a file is, from its content alone; throws Refusal for what is none of these.
EFormat detectFormat(const QByteArray& bytes);

/// Reads the bytes of a file of any of the formats.
CWorkbook readBytes(const QByteArray& bytes);

/// Reads a file of any of the formats. Throws Refusal: missing, not a plain file,
/// too large, or unreadable. `digest`, where one is wanted, becomes that of the bytes
/// (SHA-256) as soon as they are read.
CWorkbook readFile(const QString& path, QByteArray* digest = nullptr);

}  // namespace TC::statement
