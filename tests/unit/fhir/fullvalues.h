#pragma once

#include "fhir/stu3/documentreference.h"

/// Values that have something in every field: what a reader must overwrite, or leave as it is.

inline QDateTime fullTime()
{
    return {QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC};
}

inline domain::Coding fullCoding()
{
    domain::Coding coding;
    coding.setSystem(QStringLiteral("old system"));
    coding.setVersion(QStringLiteral("old version"));
    coding.setCode(QStringLiteral("old code"));
    coding.setDisplay(QStringLiteral("old display"));
    coding.setUserSelected(true);
    return coding;
}

inline domain::CodableConcept fullConcept()
{
    domain::CodableConcept type;
    type.setCoding(fullCoding());
    type.setText(QStringLiteral("old text"));
    return type;
}

inline domain::Period fullPeriod()
{
    domain::Period period;
    period.setStart(fullTime());
    period.setEnd(fullTime());
    return period;
}

inline domain::Identifier fullIdentifier()
{
    domain::Identifier identifier(QStringLiteral("old system"), QStringLiteral("old value"));
    identifier.setUse(QStringLiteral("old use"));
    identifier.setType(fullConcept());
    identifier.setPeriod(fullPeriod());
    return identifier;
}

inline domain::Attachment fullAttachment()
{
    domain::Attachment attachment;
    attachment.setContentType(QStringLiteral("old contentType"));
    attachment.setLanguage(QStringLiteral("old language"));
    attachment.setData("old data");
    attachment.setUrl(QStringLiteral("old url"));
    attachment.setSize(7);
    attachment.setHash("old hash");
    attachment.setTitle(QStringLiteral("old title"));
    attachment.setCreation(fullTime());
    return attachment;
}

inline domain::Meta fullMeta()
{
    domain::Meta meta;
    meta.setVersionId(QStringLiteral("old versionId"));
    meta.setLastUpdated(fullTime());
    meta.setProfile(QStringLiteral("old profile"));
    meta.setSecurity({fullCoding()});
    meta.setTag({fullCoding()});
    return meta;
}

inline domain::DocumentReference::Content fullContent()
{
    domain::DocumentReference::Content content;
    content.setAttachment(fullAttachment());
    content.setCoding(fullCoding());
    return content;
}

inline domain::DocumentReference fullReference()
{
    domain::DocumentReference reference;
    reference.setId(QStringLiteral("old id"));
    reference.setMeta(fullMeta());
    reference.setImplicitRules(QStringLiteral("old implicitRules"));
    reference.setLanguage(QStringLiteral("old language"));
    reference.setIdentifier({fullIdentifier()});
    reference.setStatus(QStringLiteral("old status"));
    reference.setType(fullConcept());
    reference.setContent({fullContent()});
    return reference;
}
