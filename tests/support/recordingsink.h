#pragma once

#include <http/server/response.h>

#include <optional>

/// Keeps the one answer that a response hands over.
class RecordingSink final : public http::server::AnswerSink
{
public:
    void answer(http::server::Answer &&answer) override
    {
        ++answers;
        last = std::move(answer);
    }
    void abandoned() override { ++departures; }

    int answers = 0;
    int departures = 0;
    std::optional<http::server::Answer> last;
};
