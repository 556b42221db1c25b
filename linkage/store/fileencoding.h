#pragma once

#include <optional>
#include <string>

/// The bytes of the data files. Inside the program all text is UTF-8 with "\n" line
/// ends; on disk it is UTF-8 or, to share the files with installations that use the
/// system page, GBK, without a mark and with the line ends of the platform.
namespace TC {

enum class EFileEncoding { Utf8, Gbk };

/// From the client's configuration: "GBK" and its kin ("GB18030", "GB2312", "CP936"), in
/// any case, give Gbk; everything else gives Utf8.
EFileEncoding fileEncodingFrom(const std::string& name);

/// Text as bytes. GBK is written as GB18030, which has the same bytes for every
/// character of GBK and loses none of the others. Broken UTF-8 comes out as U+FFFD.
std::string encodeText(const std::string& text, EFileEncoding encoding);

/// Bytes as text. They are read as UTF-8 (with or without a mark) when all of them are UTF-8;
/// else as GBK or GB18030 when all of them are that and the first line is not UTF-8; else there
/// is no text. Whatever the configuration says, a file of the other kind is read too: the
/// headers of the data files in GBK are never valid UTF-8, so one cannot be taken for the
/// other.
std::optional<std::string> decodeText(const std::string& bytes);

}  // namespace TC
