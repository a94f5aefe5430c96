#pragma once
// A whole session with the server: what a client sends, and what comes back of it.
#include "remote/server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace remote {

// Bytes of a client, message by message.
class Sent {
  public:
    Sent& Add(uint32_t kind, const Payload& payload = {}) {
        const uint32_t header[] = {static_cast<uint32_t>(payload.All().size()), kind};
        return Raw(header, sizeof header).Raw(payload.All().data(), payload.All().size());
    }
    Sent& Add(Kind kind, const Payload& payload = {}) {
        return Add(static_cast<uint32_t>(kind), payload);
    }
    Sent& Words(Kind kind, const std::vector<uint32_t>& words) {
        Payload payload;
        return Add(kind, payload.Bytes(words.data(), words.size() * 4));
    }
    Sent& Hello() {
        Payload payload;
        return Add(Kind::Hello, payload.Text(kMagic).Word(1).Word(1).Text("a test"));
    }
    // A Permedia of that much frame buffer that is always ready.
    Sent& Make(uint32_t wishes = 0, uint32_t frameBufferBytes = 64 * 1024) {
        Payload payload;
        for (const uint32_t word : {3u, 0u, frameBufferBytes, 0u, 60u, 525u, 45u, 256u, 0u, 0u, 0u,
                                    0u, 0u, 0u, 0u, 0u, 1u, wishes}) {
            payload.Word(word);
        }
        return Add(Kind::Make, payload.Name("").Name(""));
    }
    Sent& Raw(const void* bytes, size_t count) {
        const auto* first = static_cast<const uint8_t*>(bytes);
        bytes_.insert(bytes_.end(), first, first + count);
        return *this;
    }
    std::vector<uint8_t>& Bytes() { return bytes_; }

  private:
    std::vector<uint8_t> bytes_;
};

struct Outcome {
    std::string nonsense; // of Serve
    std::vector<Message> messages;

    // Payloads of all messages of a kind, as words.
    std::vector<std::vector<uint32_t>> Of(Kind kind) const {
        std::vector<std::vector<uint32_t>> all;
        for (const Message& message : messages) {
            if (message.kind == kind) {
                std::vector<uint32_t>& words = all.emplace_back(message.payload.size() / 4);
                std::copy_n(message.payload.data(), words.size() * 4,
                            reinterpret_cast<uint8_t*>(words.data()));
            }
        }
        return all;
    }
    // Codes and texts of the errors: "4 offset 0x3: ...".
    std::vector<std::string> Errors() const {
        std::vector<std::string> all;
        for (const Message& message : messages) {
            if (message.kind == Kind::Error) {
                Parts parts(message.payload);
                const std::string code = std::to_string(parts.Word());
                parts.Long();
                all.push_back(code + " " + std::string(parts.RestAsText()));
            }
        }
        return all;
    }
};

// A file of these bytes, read from the beginning.
inline int FileOf(const std::vector<uint8_t>& bytes) {
    const int file = memfd_create("session", MFD_CLOEXEC);
    EXPECT_EQ(write(file, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    lseek(file, 0, SEEK_SET);
    return file;
}

inline Outcome Serve(const std::vector<uint8_t>& sent, const ServerOptions& options = {}) {
    Outcome outcome;
    const int in = FileOf(sent), out = FileOf({});
    outcome.nonsense = Serve(in, out, options);
    lseek(out, 0, SEEK_SET);
    Channel channel(out, out);
    while (auto message = channel.Next()) {
        outcome.messages.push_back(std::move(*message));
    }
    close(in);
    close(out);
    return outcome;
}

} // namespace remote
