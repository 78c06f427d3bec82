#include "requestparser.h"

#include <llhttp.h>

namespace http::server {

/// A section is fed whole, so that what comes in pieces lies side by side.
static void extend(std::string_view &text, const char *at, std::size_t length)
{
    if (text.empty()) {
        text = {at, length};
    } else {
        text = {text.data(), static_cast<std::size_t>(at + length - text.data())};
    }
}

/// The parser drops the white space before a value, not the one behind it.
static std::string_view withoutTrailingSpace(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

static QByteArray rawBytes(std::string_view text)
{
    return QByteArray::fromRawData(text.data(), static_cast<int>(text.size()));
}

struct RequestParser::Callbacks
{
    static RequestParser &self(llhttp_t *parser) { return *static_cast<RequestParser *>(parser->data); }

    static int onTarget(llhttp_t *parser, const char *at, std::size_t length)
    {
        self(parser).target.append(at, static_cast<int>(length));
        return 0;
    }

    static int onFieldName(llhttp_t *parser, const char *at, std::size_t length)
    {
        extend(self(parser).m_name, at, length);
        return 0;
    }

    static int onFieldValue(llhttp_t *parser, const char *at, std::size_t length)
    {
        extend(self(parser).m_value, at, length);
        return 0;
    }

    static int onFieldComplete(llhttp_t *parser)
    {
        RequestParser &me = self(parser);
        me.headers.append(rawBytes(me.m_name), rawBytes(withoutTrailingSpace(me.m_value)));
        me.m_name = {};
        me.m_value = {};
        return 0;
    }

    static int onHeadComplete(llhttp_t *parser)
    {
        RequestParser &me = self(parser);
        me.m_keepsAlive = llhttp_should_keep_alive(parser) != 0;
        me.m_hasBody = (parser->flags & F_CHUNKED) != 0 || parser->content_length > 0;
        // Nothing here speaks another protocol: a request to upgrade is served as it stands.
        parser->upgrade = 0;
        return 0;
    }

    static int onChunkHeader(llhttp_t *parser)
    {
        RequestParser &me = self(parser);
        if (parser->content_length > static_cast<std::uint64_t>(me.m_maxBodyBytes - me.body.size())) {
            me.m_step = Step::BodyTooLarge;
            return -1;
        }
        if (parser->content_length > 0)
            return 0;
        me.m_step = Step::AtTrailers;
        return HPE_PAUSED;
    }

    static int onExtension(llhttp_t *parser, const char * /*at*/, std::size_t length)
    {
        RequestParser &me = self(parser);
        me.m_extensionBytes += static_cast<std::int64_t>(length);
        return me.m_extensionBytes > me.m_maxExtensionBytes ? -1 : 0;
    }

    static int onBody(llhttp_t *parser, const char *at, std::size_t length)
    {
        self(parser).body.append(at, static_cast<int>(length));
        return 0;
    }

    static int onComplete(llhttp_t *parser)
    {
        self(parser).m_step = Step::Complete;
        return HPE_PAUSED;
    }

    static const llhttp_settings_t &settings()
    {
        static const llhttp_settings_t settings = [] {
            llhttp_settings_t callbacks;
            llhttp_settings_init(&callbacks);
            callbacks.on_url = &onTarget;
            callbacks.on_header_field = &onFieldName;
            callbacks.on_header_value = &onFieldValue;
            callbacks.on_header_value_complete = &onFieldComplete;
            callbacks.on_headers_complete = &onHeadComplete;
            callbacks.on_chunk_header = &onChunkHeader;
            callbacks.on_chunk_extension_name = &onExtension;
            callbacks.on_chunk_extension_value = &onExtension;
            callbacks.on_body = &onBody;
            callbacks.on_message_complete = &onComplete;
            return callbacks;
        }();
        return settings;
    }
};

RequestParser::RequestParser(std::int64_t maxBodyBytes, std::int64_t maxExtensionBytes)
    : m_maxBodyBytes(maxBodyBytes)
    , m_maxExtensionBytes(maxExtensionBytes)
    , m_parser(std::make_unique<llhttp_t>())
{
    llhttp_init(m_parser.get(), HTTP_REQUEST, &Callbacks::settings());
    m_parser->data = this;
}

RequestParser::~RequestParser() = default;

int RequestParser::method() const
{
    return m_parser->method;
}

bool RequestParser::isHttp11() const
{
    return m_parser->http_minor == 1;
}

RequestParser::Step RequestParser::feed(std::string_view bytes, std::size_t *consumed)
{
    m_step = Step::NeedsMore;
    llhttp_resume(m_parser.get());
    const auto result = llhttp_execute(m_parser.get(), bytes.data(), bytes.size());
    if (result == HPE_OK) {
        *consumed = bytes.size();
    } else if (result == HPE_PAUSED) {
        *consumed = static_cast<std::size_t>(llhttp_get_error_pos(m_parser.get()) - bytes.data());
    } else if (m_step == Step::NeedsMore) {
        m_step = Step::Malformed;
    }
    return m_step;
}

void RequestParser::reset()
{
    llhttp_reset(m_parser.get());
    target.clear();
    headers = {};
    body.clear();
    m_extensionBytes = 0;
}

} // namespace http::server
