#pragma once

#include "controller/contextcontrollerstrategy.h"
#include "exchange.h"
#include "watchedstore.h"

#include <QJsonDocument>

#include <algorithm>
#include <memory>
#include <vector>

inline QByteArray indented(const QJsonValue &context)
{
    return QJsonDocument(context.toObject()).toJson();
}

/// The long polls of all clients of one store.
class ParkedPolls final
{
public:
    struct Poll
    {
        QString id;
        QString item; ///< empty for any change
        bool isStranded; ///< never to be answered
        std::unique_ptr<Exchange> exchange;
    };

    ParkedPolls(WatchedStore &store, ContextControllerStrategy &strategy)
        : m_store(store)
        , m_strategy(strategy)
    {
    }

    /// Sends a poll, which is a step of its own. It is parked unless it is answered at once.
    void park(const QString &id, const QByteArray &preference)
    {
        m_store.begin();
        const QString mark = QStringLiteral("wait=$.");
        const QString wanted = QString::fromUtf8(preference);
        const int at = wanted.indexOf(mark);
        const QString item = at < 0 ? QString() : wanted.mid(at + mark.size());
        const QString key = item.left(item.indexOf(mark));
        const QJsonObject lastSent = m_strategy.lastSentContexts().value(id);
        Poll poll{id, key, false,
                  std::make_unique<Exchange>(m_strategy, Exchange::Method::Get,
                                             "/context/" + id.toLatin1() + "/event",
                                             http::server::HeaderFields{{"Prefer", preference}})};
        m_store.expectRead(id);
        settle();
        const QJsonValue context = m_store.was(id);
        if (lastSent == context.toObject()) {
            require(!poll.exchange->isAnswered(), "A poll is answered with what was delivered.");
            m_polls.push_back(std::move(poll));
            return;
        }
        poll.isStranded = !context.isNull() && !key.isEmpty() && !context.toObject().contains(key);
        require(poll.exchange->status()
                        == (poll.isStranded    ? 0
                            : context.isNull() ? 404
                                               : 200)
                    && poll.exchange->body()
                           == (poll.exchange->status() == 200 ? indented(context) : QByteArray()),
                "A poll is answered otherwise.");
        require(m_strategy.lastSentContexts().value(id) == context.toObject(),
                "What was delivered last is not remembered.");
        if (poll.isStranded)
            m_polls.push_back(std::move(poll));
    }

    /// The client of one poll of this context goes away, if there is any.
    void leave(const QString &id)
    {
        const auto isOfContext = [&](const Poll &poll) { return poll.id == id; };
        const auto found = std::find_if(m_polls.begin(), m_polls.end(), isOfContext);
        if (found != m_polls.end())
            m_polls.erase(found);
    }

    /// WatchedStore::settle(), and requires that the step has woken those for whom it was a change, and
    /// nobody else.
    bool settle()
    {
        const bool isCertain = m_store.settle();
        std::vector<Poll> parked;
        for (Poll &poll : m_polls) {
            if (!isAnswered(poll))
                parked.push_back(std::move(poll));
        }
        m_polls = std::move(parked);
        return isCertain;
    }

    /// The context of one that waits, null if none does.
    [[nodiscard]] QString awaited() const
    {
        const auto waits = [](const Poll &poll) { return !poll.isStranded; };
        const auto found = std::find_if(m_polls.begin(), m_polls.end(), waits);
        return found == m_polls.end() ? QString() : found->id;
    }

    /// The items that those of this context wait for.
    [[nodiscard]] QStringList itemsOf(const QString &id) const
    {
        QStringList items;
        for (const Poll &poll : m_polls) {
            if (poll.id == id && !poll.item.isEmpty())
                items.append(poll.item);
        }
        return items;
    }

private:
    // By the first change of its context that has its item, and by nothing else.
    bool isAnswered(Poll &poll)
    {
        static const QStringList headers{QStringLiteral("Cache-Control: no-cache, no-store, must-revalidate"),
                                         QStringLiteral("Pragma: no-cache"), QStringLiteral("Expires: 0"),
                                         QStringLiteral("Content-Type: application/json")};
        for (const WatchedStore::Signal &signal : qAsConst(m_store.raised)) {
            const bool hasItem = poll.item.isEmpty() || signal.value.contains(poll.item);
            if (poll.isStranded || signal.id != poll.id || !hasItem)
                continue;
            require(poll.exchange->status() == 200 && poll.exchange->headers() == headers
                        && poll.exchange->body() == indented(signal.value),
                    "A poll was not woken by a change.");
            require(poll.exchange->hasEndedItself(), "A poll stays behind its answer.");
            require(m_strategy.lastSentContexts().value(poll.id) == signal.value,
                    "What was delivered last is not remembered.");
            return true;
        }
        require(!poll.exchange->isAnswered(), "A poll was woken without a change for it.");
        return false;
    }

    WatchedStore &m_store;
    ContextControllerStrategy &m_strategy;
    std::vector<Poll> m_polls;
};
