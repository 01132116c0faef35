#include "app/DeviceReports.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>

#include <morvalincore/LogText.h>

#include "app/Console.h"
#include "session/Refusal.h"

namespace Morvalin::App {

namespace {

constexpr char hexDigits[] = "0123456789ABCDEF";

std::ofstream create(const std::string& path, const char* what) {
    std::ofstream file;
    if (path.empty())
        return file;
    errno = 0;
    file.open(path, std::ios::binary);
    if (!file)
        throw Refusal(FileRefused, std::string(what) + " " + path + ": " +
                                       std::generic_category().message(errno));
    return file;
}

bool isPrintable(char character) {
    return character >= 0x20 && character < 0x7F;
}

bool isText(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char character) {
        return isPrintable(character) || character == '\r' || character == '\n';
    });
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        if (character == '\r')
            result += "\\r";
        else if (character == '\n')
            result += "\\n";
        else if (character == '\\')
            result += "\\\\";
        else
            result += character;
    }
    return result;
}

std::string hex(std::string_view bytes) {
    std::string result = "hex ";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        result += {hexDigits[value >> 4], hexDigits[value & 15]};
    }
    return result;
}

const char* sign(Diagnosable::Traffic kind) {
    switch (kind) {
    case Diagnosable::Traffic::Sent:
        return ">";
    case Diagnosable::Traffic::Received:
        return "<";
    case Diagnosable::Traffic::Dropped:
        return "dropped";
    case Diagnosable::Traffic::Note:
        break;
    }
    return "-";
}

} // namespace

TraceFile::TraceFile(const std::string& tracePath) :
    path(tracePath), file(create(path, "trace")), start(std::chrono::steady_clock::now()) {
    file.setf(std::ios::fixed);
    file.precision(6);
}

void TraceFile::attach(const Sessions& sessions) {
    if (!file.is_open())
        return;
    for (const auto& session : sessions) {
        if (Diagnosable* const diagnosable = session->diagnosable())
            diagnosable->setTraceSink([this, label = session->label()](Diagnosable::Traffic kind,
                                                                       std::string_view bytes) {
                write(label, kind, bytes);
            });
        else
            logText(Log::Warning, "Host", session->label(), " cannot be traced");
    }
}

void TraceFile::write(const std::string& label, Diagnosable::Traffic kind, std::string_view bytes) {
    try {
        const std::lock_guard lock(mutex);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        file << time.count() << '\t' << label << '\t' << sign(kind) << '\t'
             << (bytes.empty()   ? "(nothing)"
                 : isText(bytes) ? escaped(bytes)
                                 : hex(bytes))
             << std::endl;
    } catch (const std::exception&) {
        // Short of memory, a line of the trace is lost and streaming goes on.
    }
}

bool TraceFile::isComplete() {
    const std::lock_guard lock(mutex);
    if (file.good())
        return true;
    printError("trace " + path + ": not complete, writing failed");
    return false;
}

DumpFile::DumpFile(const std::string& dumpPath) : path(dumpPath), file(create(path, "dump")) {}

bool DumpFile::write(const Sessions& sessions) {
    for (const auto& session : sessions) {
        Diagnosable* const diagnosable = session->diagnosable();
        const std::string state = diagnosable == nullptr ? "" : diagnosable->stateDump();
        file << (state.empty() ? "No device is connected.\n" : state);
    }
    if (file.flush())
        return true;
    printError("dump " + path + ": cannot be written");
    return false;
}

} // namespace Morvalin::App
