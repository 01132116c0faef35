#include <limits>

#include <gtest/gtest.h>

#include <morvalinstream/TrackingInstrumentFiducialsData.h>

#include "outputs/TextOutput.h"

using namespace Morvalin;

namespace {

/// With numbers, texts and bytes that are hard to write.
TrackingStreamData makeFrame() {
    TrackingStreamData frame;
    frame.mainId = "probe";
    frame.timestamp = 1700000000123;
    frame.instruments.resize(2);
    TrackingInstrument& probe = frame.instruments[0];
    probe.trackerId = {"probe", "Sonde \"\xC3\xA4\" \\", ""};
    probe.toolType = "Probe";
    probe.active = true;
    probe.quality = 0.1 + 0.2;
    probe.timestamp = 1700000000122;
    probe.matrix << 0, -1, 0, 1.0 / 3, 1, -0.0, 0, 5e-324, 0, 0, 1, -1.7976931348623157e308, 0, 0,
        0, 1;
    TrackingInstrument& broken = frame.instruments[1];
    broken.trackerId = {"broken\xFF", "tab\there", "m"};
    broken.active = false;
    broken.quality = std::numeric_limits<double>::quiet_NaN();
    broken.matrix(0, 0) = std::numeric_limits<double>::infinity();
    auto markers = std::make_unique<TrackingInstrumentFiducialsData>();
    markers->positions = {{1.5, -2.25, 1e-7}};
    markers->identifiers = {0xCBF29CE484222325};
    frame.addComponent(std::move(markers));
    return frame;
}

} // namespace

TEST(Frames, JsonIsExactAndReadableTextIsHarmless) {
    // Matrices column by column, and every number reads back as the same double.
    EXPECT_EQ(App::jsonFrame("Vega", 7, makeFrame()),
              R"({"stream":"Vega","frame":7,"timestamp":1700000000123,"main":"probe",)"
              R"("instruments":[{"id":"probe","name":"Sonde \"ä\" \\","model":"","type":"Probe",)"
              R"("active":true,"quality":0.30000000000000004,"timestamp":1700000000122,)"
              R"("matrix":[0.0,1.0,0.0,0.0,-1.0,-0.0,0.0,0.0,0.0,0.0,1.0,0.0,)"
              R"(0.3333333333333333,5e-324,-1.7976931348623157e+308,1.0]},)"
              R"({"id":"broken�","name":"tab\there","model":"m","type":"Unknown",)"
              R"("active":false,"quality":null,"timestamp":0,)"
              R"("matrix":[null,0.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,0.0,1.0]}],)"
              R"("fiducials":[{"id":14695981039346656037,"position":[1.5,-2.25,1e-07]}]})"
              "\n");
    EXPECT_EQ(App::readableFrame("Vega", 7, makeFrame()),
              "Vega  frame 7  22:13:20.123 UTC  instruments 2  strays 1\n"
              "  * probe    Sonde \"ä\" \\  Probe    x     0.333  y     0.000  z -1.798e+308  mm"
              "  q  0.7071  0.0000  0.0000  0.7071  quality  0.300\n"
              "    broken\xFF  tab?here      Unknown  inactive\n");
}
