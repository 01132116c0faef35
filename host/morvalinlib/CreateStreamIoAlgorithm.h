#pragma once

#include <exception>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include <morvalincore/LogText.h>
#include <morvalincore/Properties.h>
#include <morvalinlib/StreamIoAlgorithm.h>

namespace Morvalin {

/// The algorithm that creates a stream of type T, configures it and, when asked to by its settings,
/// opens and starts it.
///
/// Settings: "open" (or else "autoOpen", or else "connect") opens the stream after it was created,
/// "start" (or else "autoStart") starts it after it was opened; the first that is present decides.
/// Everything else is the stream's own.
template <class T>
class CreateStreamIoAlgorithm : public StreamIoAlgorithm {
public:
    ~CreateStreamIoAlgorithm() override { releaseStream(); }

    /// Keeps a copy of the settings for the streams to come and passes them to the stream that
    /// exists; does not open or start it.
    void configure(const Properties* properties) override {
        if (properties == nullptr)
            return;
        stored = std::make_unique<Properties>(*properties);
        if (streamPointer != nullptr)
            streamPointer->configure(properties);
        readFlag(*properties, {"open", "autoOpen", "connect"}, openPending);
        readFlag(*properties, {"start", "autoStart"}, startPending);
    }

    /// The stream's settings, or those kept for it.
    void configuration(Properties* properties) override {
        if (properties == nullptr)
            return;
        if (streamPointer != nullptr)
            streamPointer->configuration(properties);
        else if (stored)
            properties->copyFrom(*stored);
    }

    /// Creates a stream of the type's default name and adopts it.
    void compute() override {
        std::unique_ptr<T> created;
        try {
            created = std::make_unique<T>();
        } catch (const std::exception& exception) {
            releaseStream();
            return fail(exception.what());
        } catch (...) {
            releaseStream();
            return fail("");
        }
        adoptStream(std::move(created));
    }

    /// Releases the stream held so far, takes the new one over and configures, opens and starts it
    /// as the settings ask. status() tells whether every requested step succeeded. When something
    /// throws, the stream is forgotten without being destroyed: what state it is in is not known.
    /// Nothing is thrown.
    void adoptStream(std::unique_ptr<T> stream) {
        releaseStream();
        streamPointer = stream.release();
        try {
            setStatus(bringUp(*streamPointer) ? Success : Failure);
        } catch (const std::exception& exception) {
            streamPointer = nullptr;
            fail(exception.what());
        } catch (...) {
            streamPointer = nullptr;
            fail("");
        }
    }

    /// Destroys the stream, or only drops the pointer when somebody else owns it by now.
    void releaseStream() {
        if (!streamOwnershipTransferred)
            delete streamPointer;
        streamPointer = nullptr;
        streamOwnershipTransferred = false;
    }

private:
    static void readFlag(const Properties& properties, std::initializer_list<const char*> keys,
                         bool& flag) {
        for (const char* key : keys)
            if (properties.param(key, flag))
                return;
    }

    bool bringUp(Stream& stream) {
        if (stored)
            stream.configure(stored.get());
        if (!openPending)
            return true;
        return stream.open() && (!startPending || stream.start());
    }

    void fail(const char* message) {
        setStatus(Failure);
        logText(Log::Error, "CreateStreamIoAlgorithm",
                "Could not instantiate a new Stream: ", message);
    }

    std::unique_ptr<Properties> stored;
    bool openPending = false;
    bool startPending = false;
};

} // namespace Morvalin
