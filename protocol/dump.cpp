#include "protocol/dump.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <locale>
#include <sstream>

namespace protocol {
namespace {

// One line a store: its key, its value. Per-index groups are passes of their own.
class StateText {
public:
    explicit StateText(const DeviceRecord& record) : m_record(record) {
        m_out.imbue(std::locale::classic());
        // Memory that runs out must not leave a part of the text.
        m_out.exceptions(std::ios::badbit);
    }

    std::string build();

private:
    // The bytes from a store to the first zero. A store without one runs on into its neighbours,
    // at most to the end of the record.
    std::string_view textAt(const void* store) const {
        const char* base = reinterpret_cast<const char*>(&m_record);
        const auto offset = static_cast<std::size_t>(static_cast<const char*>(store) - base);
        const std::size_t left = sizeof(DeviceRecord) - offset;
        const void* zero = std::memchr(base + offset, '\0', left);
        return {base + offset,
                zero == nullptr
                    ? left
                    : static_cast<std::size_t>(static_cast<const char*>(zero) - base) - offset};
    }

    template <typename Value>
    void line(std::string_view key, const Value& value) {
        m_out << key << ": " << value << '\n';
    }

    void text(std::string_view key, const void* store) { line(key, textAt(store)); }

    template <typename T, std::size_t N>
    void texts(const char* name, const T (&stores)[N], const char* size, int count = N) {
        for (int i = 0; i < count; ++i) {
            m_out << name << '[' << i << ']';
            text(size, &stores[i]);
        }
    }

    template <typename T, std::size_t N>
    void addresses(const char* name, const T (&stores)[N], const char* size, int count) {
        for (int i = 0; i < count; ++i) {
            m_out << name << '[' << i << ']';
            line(size, static_cast<const void*>(&stores[i]));
        }
    }

    void gx();
    void pstat();
    void systemAndPorts();
    void phinf();
    void tx();
    void bx();
    void bxMarkers(int handles);

    const DeviceRecord& m_record;
    std::ostringstream m_out;
};

void StateText::gx() {
    texts("GxTransforms", m_record.GxTransforms, "[52]");
    text("GxStatus[8]", m_record.GxStatus);
    texts("GxInformation", m_record.GxInformation, "[12]");
    texts("GxSingleStray", m_record.GxSingleStray, "[24]");
    texts("GxFrame", m_record.GxFrame, "[8]");
    texts("GxPassiveTransforms", m_record.GxPassiveTransforms, "[52]");
    text("GxPassiveStatus[24]", m_record.GxPassiveStatus);
    texts("GxPassiveInformation", m_record.GxPassiveInformation, "[12]");
    texts("GxPassiveFrame", m_record.GxPassiveFrame, "[8]");
    text("GxPassiveStray[424]", m_record.GxPassiveStray);
}

void StateText::pstat() {
    texts("PstatBasic", m_record.PstatBasic, "[32]");
    texts("PstatTesting", m_record.PstatTesting, "[8]");
    texts("PstatPartNumber", m_record.PstatPartNumber, "[20]");
    texts("PstatAccessories", m_record.PstatAccessories, "[2]");
    texts("PstatMarkerType", m_record.PstatMarkerType, "[2]");
    texts("PstatPassiveBasic", m_record.PstatPassiveBasic, "[32]");
    texts("PstatPassiveTesting", m_record.PstatPassiveTesting, "[8]");
    texts("PstatPassivePartNumber", m_record.PstatPassivePartNumber, "[20]");
    texts("PstatPassiveAccessories", m_record.PstatPassiveAccessories, "[2]");
    texts("PstatPassiveMarkerType", m_record.PstatPassiveMarkerType, "[2]");
}

void StateText::systemAndPorts() {
    text("SstatControl[2]", m_record.SstatControl);
    text("SstatSensor[2]", m_record.SstatSensor);
    text("SstatTiu[2]", m_record.SstatTiu);
    line("IrchkDetected", m_record.IrchkDetected);
    text("IrchkSources[128]", m_record.IrchkSources);
    text("PhrqReply[2]", m_record.PhrqReply);
    text("PhsrReply[1284]", m_record.PhsrReply);
}

void StateText::phinf() {
    line("PhinfUnoccupied", m_record.PhinfUnoccupied);
    text("PhinfBasic[34]", m_record.PhinfBasic);
    text("PhinfTesting[8]", m_record.PhinfTesting);
    text("PhinfPartNumber[20]", m_record.PhinfPartNumber);
    text("PhinfAccessories[2]", m_record.PhinfAccessories);
    text("PhinfMarkerType[2]", m_record.PhinfMarkerType);
    text("PhinfPortLocation[14]", m_record.PhinfPortLocation);
    text("PhinfGpioStatus[2]", m_record.PhinfGpioStatus);
}

void StateText::tx() {
    const int handles = std::min<int>(m_record.TxHandleCount, NDI_MAX_HANDLES);
    line("TxHandleCount", m_record.TxHandleCount);
    text("TxHandles[NDI_MAX_HANDLES]", m_record.TxHandles);
    texts("TxTransforms", m_record.TxTransforms, "[52]", handles);
    texts("TxStatus", m_record.TxStatus, "[8]", handles);
    texts("TxFrame", m_record.TxFrame, "[8]", handles);
    texts("TxInformation", m_record.TxInformation, "[12]", handles);
    texts("TxSingleStray", m_record.TxSingleStray, "[24]", handles);
    text("TxSystemStatus[4]", m_record.TxSystemStatus);
    line("TxPassiveStrayCount", m_record.TxPassiveStrayCount);
    text("TxPassiveStrayOov[14]", m_record.TxPassiveStrayOov);
    text("TxPassiveStray[1052]", m_record.TxPassiveStray);
}

void StateText::bx() {
    const int handles = std::min<int>(m_record.BxHandleCount, NDI_MAX_HANDLES);
    line("BxHandleCount", static_cast<char>(m_record.BxHandleCount));
    text("BxHandles[NDI_MAX_HANDLES]", m_record.BxHandles);
    text("BxHandlesStatus[NDI_MAX_HANDLES]", m_record.BxHandlesStatus);
    line("BxFrameNumber[NDI_MAX_HANDLES]", static_cast<const void*>(m_record.BxFrameNumber));
    addresses("BxTransforms", m_record.BxTransforms, "[8]", handles);
    line("BxPortStatus[NDI_MAX_HANDLES]", static_cast<const void*>(m_record.BxPortStatus));
    texts("BxToolMarkerInformation", m_record.BxToolMarkerInformation, "[11]", handles);
    text("BxActiveSingleStrayMarkerStatus[NDI_MAX_HANDLES]",
         m_record.BxActiveSingleStrayMarkerStatus);
    addresses("BxActiveSingleStrayMarkerPosition", m_record.BxActiveSingleStrayMarkerPosition,
              "[3]", handles);
    bxMarkers(handles);
    line("BxPassiveStrayCount", m_record.BxPassiveStrayCount);
    text("BxPassiveStrayOutOfVolume[30]", m_record.BxPassiveStrayOutOfVolume);
    addresses("BxPassiveStrayPosition", m_record.BxPassiveStrayPosition, "[3]",
              std::min<int>(m_record.BxPassiveStrayCount, 240));
}

void StateText::bxMarkers(int handles) {
    text("Bx3DMarkerCount[NDI_MAX_HANDLES]", m_record.Bx3DMarkerCount);
    texts("Bx3DMarkerOutOfVolume", m_record.Bx3DMarkerOutOfVolume, "[3]", handles);
    for (int i = 0; i < handles; ++i) {
        const std::string name = "Bx3DMarkerPosition[" + std::to_string(i) + "]";
        addresses(name.c_str(), m_record.Bx3DMarkerPosition[i], "[3]",
                  std::min<int>(m_record.Bx3DMarkerCount[i], 20));
    }
}

std::string StateText::build() {
    gx();
    pstat();
    systemAndPorts();
    phinf();
    tx();
    bx();
    return m_out.str();
}

} // namespace

std::string describeState(const DeviceRecord& record) {
    return StateText(record).build();
}

} // namespace protocol

void deviceDumpState(const DeviceRecord* record, char* out) {
    try {
        const std::string text = protocol::describeState(*record);
        text.copy(out, text.size());
    } catch (const std::exception&) {
        // Out of memory: nothing is written, the caller's buffer stays zero.
        return;
    }
}

std::size_t deviceDumpState(const DeviceRecord* record, char* out, std::size_t size) {
    try {
        const std::string text = protocol::describeState(*record);
        if (size > 0) {
            out[text.copy(out, size - 1)] = '\0';
        }
        return text.size();
    } catch (const std::exception&) {
        if (size > 0) {
            out[0] = '\0';
        }
        return 0;
    }
}
