#pragma once

#include <string>

#include <morvalincore/SerialPortReport.h>

namespace Morvalin {

/// What a serial port name stands for and why no device can be reached there, in words. Only with
/// `probes` is a device asked, which may reset it.
SerialPortReport::Port inspectSerialPort(const std::string& name, bool probes);

/// Tells in the log why a device could not be opened at a port: one that `hasAnswered` there, or
/// did not.
void explainSerialPort(const std::string& name, bool hasAnswered) noexcept;

/// Likewise after a search without an answer, for every port that is there.
void explainSerialPorts() noexcept;

} // namespace Morvalin
