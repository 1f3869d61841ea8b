#include "platform/MicrProtocol.h"

#include "platform/Limits.h"

#include <algorithm>

namespace station::micr {

std::string commandBytes(std::string_view command) {
    return std::string(command) + cr;
}

std::string startBytes(std::string_view argument) {
    return "FC" + std::string(argument) + cr;
}

std::string imageRequestBytes() {
    return commandBytes("TI");
}

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool micrAlphabet(std::string_view data) {
    return std::all_of(data.begin(), data.end(), [](char c) {
        return isDigit(c) || c == 'T' || c == 'O' || c == 'A' || c == 'D' || c == '?' || c == '-' || c == ' ';
    });
}

// The track named by a start sentinel: "%" is track 1, each ";" the next of tracks 2 and 3.
std::size_t trackOfSentinel(char sentinel, const Read& read) {
    if (sentinel == '%')
        return 0;
    return read.seen[1] ? 2 : 1;
}

void putTrack(Read& read, std::size_t index, std::string_view content) {
    if (index > 2 || read.seen[index])
        return;
    read.seen[index] = true;
    // "E" is the reader's mark for a track it could not read.
    read.tracks[index] = content == "E" ? std::string() : std::string(content);
}

} // namespace

Message classify(std::string_view data) {
    Message m;
    if (data.empty() || data == "OK" || data == "?")
        return m;
    if (data.size() >= 3 && data[data.size() - 3] == '/' && isDigit(data[data.size() - 2]) && isDigit(data.back())) {
        m.status = (data[data.size() - 2] - '0') * 10 + (data.back() - '0');
        data.remove_suffix(3);
    }
    if (!data.empty() && (data.front() == 'C' || data.front() == 'M')) {
        m.kind = data.front() == 'C' ? Message::Kind::Check : Message::Kind::Card;
        data.remove_prefix(1);
    } else if (!data.empty() && (data.front() == '%' || data.front() == ';')) {
        m.kind = Message::Kind::Card;
    } else {
        m.kind = micrAlphabet(data) ? Message::Kind::Check : Message::Kind::Card;
    }
    m.data = std::string(data);
    return m;
}

void addTracks(std::string_view data, Read& read) {
    const auto first = data.find_first_of("%;");
    if (first == std::string_view::npos) {
        const auto next = std::find(read.seen.begin(), read.seen.end(), false);
        if (next != read.seen.end())
            putTrack(read, static_cast<std::size_t>(next - read.seen.begin()), data);
        return;
    }
    // Anything between an end sentinel and the next start sentinel (a check character) is left.
    std::size_t at = first;
    while (at < data.size()) {
        const auto index = trackOfSentinel(data[at], read);
        const auto end = data.find('?', at + 1);
        const auto content = data.substr(at + 1, end == std::string_view::npos ? std::string_view::npos : end - at - 1);
        putTrack(read, index, content);
        if (end == std::string_view::npos)
            return;
        at = data.find_first_of("%;", end + 1);
    }
}

Receiver::Action Receiver::feed(std::string_view bytes) {
    Action result = Action::None;
    // Of several things asked in one chunk, the adapter does the weightiest.
    auto note = [&result](Action a) {
        if (static_cast<int>(a) > static_cast<int>(result))
            result = a;
    };
    for (const char c : bytes) {
        if (m_state == State::Skipping) {
            if (--m_skip == 0)
                m_state = State::Waiting;
            continue;
        }
        if (m_state == State::Image) {
            note(imageByte(c));
            continue;
        }
        switch (c) {
        case stx:
            m_pending.clear();
            m_framed = true;
            m_overflow = false;
            break;
        case etx:
            if (m_framed && !m_overflow)
                note(message(m_pending, "\r\n"));
            m_pending.clear();
            m_framed = false;
            m_overflow = false;
            break;
        case cr:
        case lf:
            if (!m_framed) {
                if (!m_pending.empty() && !m_overflow)
                    note(message(m_pending, c == cr ? "\n" : ""));
                m_pending.clear();
                m_overflow = false;
            }
            break;
        case esc:
            break;
        default:
            if (m_pending.size() < limits::readerMessage)
                m_pending.push_back(c);
            else
                m_overflow = true;
        }
    }
    return result;
}

Receiver::Action Receiver::message(std::string_view data, std::string_view trailer) {
    const auto m = classify(data);
    switch (m.kind) {
    case Message::Kind::Reply:
        return Action::None;
    case Message::Kind::Card:
        if (m_state != State::Card) {
            m_read = {};
            m_state = State::Card;
        }
        addTracks(m.data, m_read);
        m_read.status = m.status;
        return Action::Settle;
    case Message::Kind::Check:
        m_read = {};
        m_read.check = true;
        m_read.micrLine = m.data;
        m_read.status = m.status;
        m_state = State::Image;
        m_trailer = trailer;
        m_lengthBytes.clear();
        m_lengthKnown = false;
        m_imageLength = 0;
        return Action::RequestImage;
    }
    return Action::None;
}

Receiver::Action Receiver::imageByte(char c) {
    if (m_lengthKnown) {
        m_read.image->push_back(c);
        if (m_read.image->size() < m_imageLength)
            return Action::ImageMoving;
        m_state = State::Waiting;
        return Action::Complete;
    }
    if (m_lengthBytes.empty() && !m_trailer.empty() && c == m_trailer.front()) {
        m_trailer.erase(0, 1);
        return Action::None;
    }
    m_trailer.clear();
    if (m_lengthBytes.empty() && c == '?') {
        m_state = State::Waiting;
        return Action::Complete;
    }
    m_lengthBytes.push_back(c);
    const bool wide = m_lengthBytes.front() == '\0';
    if (m_lengthBytes.size() < (wide ? 4u : 2u))
        return Action::ImageMoving;
    std::size_t words = 0;
    for (std::size_t i = wide ? 1 : 0; i < m_lengthBytes.size(); ++i)
        words = words * 256 + static_cast<unsigned char>(m_lengthBytes[i]);
    m_lengthKnown = true;
    m_imageLength = words * 2;
    if (m_imageLength == 0) {
        m_read.image = std::string();
        m_state = State::Waiting;
        return Action::Complete;
    }
    if (m_imageLength > limits::readerImage) {
        m_skip = m_imageLength;
        m_state = State::Skipping;
        return Action::Complete;
    }
    m_read.image = std::string();
    m_read.image->reserve(m_imageLength);
    return Action::ImageMoving;
}

Receiver::Action Receiver::timeUp() {
    if (m_state == State::Card) {
        m_state = State::Waiting;
        return Action::Complete;
    }
    if (m_state == State::Image) {
        // Half an image is no image.
        m_read.image.reset();
        m_state = State::Waiting;
        return Action::Complete;
    }
    return Action::None;
}

void Receiver::reset() {
    *this = Receiver();
}

} // namespace station::micr
