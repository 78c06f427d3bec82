#pragma once

#include "cardservice.h"

/// Reaches the cards, entries without a number included.
struct CardServiceProbe
{
    static const QMap<QString, QString> &cards(const CardService &service) { return service.m_cards; }
};
