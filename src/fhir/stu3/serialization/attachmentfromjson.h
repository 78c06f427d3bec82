#pragma once

class QJsonObject;

namespace domain {

class Attachment;

/// Reads an Attachment. Keeps references to both arguments.
class AttachmentFromJson final
{
public:
    AttachmentFromJson(Attachment &attachment, const QJsonObject &json);

    /// Sets the field of each key that is there; one of another type empties its field. "data" and "hash"
    /// stay in Base64.
    void parse();

private:
    Attachment &m_attachment;
    const QJsonObject &m_json;
};

} // namespace domain
