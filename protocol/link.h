#pragma once

#include "protocol/reply_framing.h"

#include <cstdint>
#include <string_view>

namespace protocol {

// What a link needs of its connection: the bytes, and a clock that never goes back.
class LinkLine {
public:
    virtual std::int64_t nowMs() = 0;

    // How long an answer is waited for; 0: for ever.
    virtual int timeoutMs() = 0;

    // Gives what has arrived as soon as anything has, at the latest after so many milliseconds.
    //   result  0 when nothing came; -1 when nothing can come any more
    virtual int receive(char* buffer, int max, int ms) = 0;

    // Told of the bytes that were received for nobody.
    virtual void drop(const char* bytes, int length) = 0;

protected:
    ~LinkLine() = default;
};

// Whether a TCP connection is in step: whether the next answer to arrive will be the next command's
// own. An answer over TCP does not say which command it belongs to, and one that is taken for the
// next command's puts all later ones out of step, poses among them.
//
// So nothing is sent while an answer is outstanding. It is waited for, read by its own framing and
// dropped; after 2 s of silence, counted from the last byte or from the end of a wait, it is given
// up as lost. A reply that was cut at the buffer's end leaves a tail that is dropped in the same
// way. Where a reply with a bad CRC has ended is in doubt: then the line must have been quiet for
// as long as an answer is waited for, at most kMostWaitMs.
//
// What is not noticed: an answer that comes later than that, and the rest of a damaged one that
// comes after such a pause.
class Link {
public:
    // The longest that settle() waits, and the silence after which an answer is lost.
    static constexpr int kMostWaitMs = 600;
    static constexpr int kLostAfterMs = 2000;

    // Before a command is sent. Drops what has arrived; out of step, waits up to kMostWaitMs for
    // what may still come. False: out of step still.
    bool settle(LinkLine& line);

    // After a command that was sent although answers are outstanding. Drops those, waiting for as
    // long as for an answer. False: its own answer cannot be told from theirs.
    bool passOver(LinkLine& line);

    // What became of a command. An answer that is whole and good leaves nothing to be said.

    // No answer, or only the beginning of one.
    void noteMissing(LinkLine& line, std::string_view beginning, bool expectsBinary);
    // An answer whose CRC does not fit, because it was spoiled or is longer than the caller's
    // buffer; and what came behind it in the same chunk.
    void noteDamaged(LinkLine& line, std::string_view received, std::string_view tail,
                     bool expectsBinary);
    // The device has begun anew, or the connection is gone: nothing is outstanding any more.
    void noteReset();

private:
    bool isInStep() const { return m_awaited == 0 && !m_needsQuiet; }
    bool dropArrived(LinkLine& line);
    bool await(LinkLine& line, std::int64_t deadline, int most);
    void takeLate(LinkLine& line, std::string_view bytes);

    int m_awaited = 0;         // answers, or the tail of one, that may still come
    bool m_needsQuiet = false; // the line must be quiet before the next command
    ReplyFraming m_framing;    // of the first of those answers, as far as it has come
    std::int64_t m_silentSince = 0;
};

} // namespace protocol
