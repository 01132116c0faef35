#include <morvalingui/StreamControllerBase.h>

#include <chrono>
#include <utility>

#include <morvalinlib/StreamIoAlgorithm.h>
#include <morvalinstream/Stream.h>

namespace Morvalin {

namespace {

// Long enough for a stream that is merely busy with an exchange, too short to be felt.
constexpr std::chrono::milliseconds answerPatience{100};

bool isBusy(const Stream& stream) {
    return stream.isStateOneOf({Stream::Opening, Stream::Closing});
}

} // namespace

StreamControllerBase::StreamControllerBase(StreamIoAlgorithm* controlled) :
    algorithm(controlled), queuedStateChange(this, "onStateChanged"),
    queuedAnswer(this, "onAnswer") {}

StreamControllerBase::~StreamControllerBase() {
    queuedStateChange.clear();
    queuedAnswer.clear();
    signalConnections.disconnectAll();
}

void StreamControllerBase::init() {
    if (stream() != nullptr)
        signalConnections.add(stream()->stateChanged.connect(
            [queued = queuedStateChange](const Stream::StateChange&) { queued(); }));
}

Stream* StreamControllerBase::stream() const {
    return algorithm != nullptr ? algorithm->stream() : nullptr;
}

void StreamControllerBase::onParameterChanged() {
    if (stream() == nullptr || properties.isNull())
        return;
    const Properties change = properties->changedParameter();
    stream()->configure(&change);
}

void StreamControllerBase::updatePropertiesWidget() {
    if (stream() == nullptr || properties.isNull())
        return;
    isUpdatePending = answer.valid() || isBusy(*stream());
    if (isUpdatePending) {
        properties->setEnabled(false);
        return;
    }
    askStream();
    if (answer.wait_for(answerPatience) == std::future_status::ready)
        takeAnswer();
    else
        properties->setEnabled(false);
}

void StreamControllerBase::askStream() {
    std::packaged_task<Answer()> question([asked = stream()]() -> Answer {
        // An operation may have begun since the panel looked.
        if (isBusy(*asked))
            return std::nullopt;
        Properties current;
        asked->configuration(&current);
        return current;
    });
    answer = question.get_future();
    askingThread = std::jthread([question = std::move(question), queued = queuedAnswer]() mutable {
        question();
        queued();
    });
}

void StreamControllerBase::takeAnswer() {
    const Answer current = answer.get();
    if (current)
        properties->setProperties(*current);
    else
        isUpdatePending = true;
    properties->setEnabled(current.has_value());
}

void StreamControllerBase::onStateChanged() {
    if (isUpdatePending)
        updatePropertiesWidget();
}

void StreamControllerBase::onAnswer() {
    using namespace std::chrono_literals;
    const bool isLate = answer.valid() && answer.wait_for(0s) == std::future_status::ready;
    if (!isLate || properties.isNull())
        return;
    takeAnswer();
    if (isUpdatePending)
        updatePropertiesWidget();
}

} // namespace Morvalin
