// What the machine supplies besides objects and databases.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform {

class Clock {
public:
    virtual ~Clock() = default;
    virtual Date Now() = 0;  // local time
};

class Locale {
public:
    virtual ~Locale() = default;
    virtual std::string DecimalSeparator() = 0;
    virtual std::string ShortDate(Date moment) = 0;  // the user's short date format
    virtual std::string LongTime(Date moment) = 0;   // the user's long time format
};

class TimeZone {
public:
    virtual ~TimeZone() = default;
    virtual int BiasMinutes() = 0;  // UTC = local standard time + bias; -60 an hour east of Greenwich
};

class MessageDisplay {
public:
    virtual ~MessageDisplay() = default;
    virtual void Show(const std::string& text) = 0;
};

class XmlDocument {
public:
    virtual ~XmlDocument() = default;
    virtual bool Load(const std::filesystem::path& file) = 0;  // false: missing, unreadable or not well-formed
    // The text of the first node at a path such as "ROOT/NAME".
    virtual std::optional<std::string> SelectSingleNodeText(const std::string& path) = 0;
};

using MakeXmlDocument = std::function<std::unique_ptr<XmlDocument>()>;

// A text file of short lines that end in CR LF. Members raise RuntimeError; the destructor closes.
class TextStream {
public:
    virtual ~TextStream() = default;
    virtual bool AtEndOfStream() = 0;
    virtual std::string ReadLine() = 0;
    virtual void WriteLine(const std::string& text) = 0;
    virtual void Close() = 0;
};

// A file that grows at its end: a log, a trace.
class AppendingFile {
public:
    virtual ~AppendingFile() = default;
    virtual void Append(std::string_view text) = 0;  // in one write; raises RuntimeError that names the file
};

// Only regular files, and no links to them: what else has the name raises RuntimeError, so that nobody can have
// another file overwritten or the copy wait for a FIFO's reader. New files are not for everybody to read.
class TextFiles {
public:
    virtual ~TextFiles() = default;
    virtual std::unique_ptr<TextStream> CreateTextFile(const std::filesystem::path& file) = 0;  // overwrites
    virtual std::unique_ptr<TextStream> OpenTextFile(const std::filesystem::path& file) = 0;    // for reading
    virtual std::unique_ptr<AppendingFile> OpenForAppending(const std::filesystem::path& file) = 0;
};

struct Machine {
    Clock& clock;
    Locale& locale;
    TimeZone& timeZone;
    MessageDisplay& messageBox;
    MakeXmlDocument makeXmlDocument;
    TextFiles& files;
    std::filesystem::path programFolder;
    char pathSeparator = '/';
    std::string_view lineEnd = "\n";        // of log lines
    std::string blankDirectory = ".";       // what a blank log directory stands for
    std::string defaultLogDirectory = ".";  // where the request error log goes when its directory is blank
};

}  // namespace iqrx::platform
