// SPDX-License-Identifier: MIT
#include "support/fakehttpclient.h"

#include "support/eventloop.h"

#include <QTest>

#include <algorithm>
#include <utility>

namespace kestrune::test {

QString FakeHttpClient::Request::line() const
{
    QString line = url.path(QUrl::FullyEncoded);
    if (url.hasQuery())
        line += u'?' + url.query(QUrl::FullyEncoded);
    return line;
}

QByteArray FakeHttpClient::Request::header(const QByteArray &name) const
{
    for (const HttpHeader &header : headers) {
        if (header.name.compare(name, Qt::CaseInsensitive) == 0)
            return header.value;
    }
    return {};
}

FakeHttpClient::FakeHttpClient(Unexpected unexpected) : m_unexpected(unexpected) {}

FakeHttpClient::~FakeHttpClient()
{
    m_closing = true;
    m_context.reset();
    while (!m_open.empty())
        finish(m_open.front().completion, std::nullopt);
}

void FakeHttpClient::answer(const QString &route, const QByteArray &body)
{
    enqueue(route, body, false);
}

void FakeHttpClient::fail(const QString &route)
{
    enqueue(route, std::nullopt, false);
}

void FakeHttpClient::hold(const QString &route)
{
    enqueue(route, std::nullopt, true);
}

void FakeHttpClient::enqueue(const QString &route, Body body, bool held)
{
    m_queues[route].push_back(std::make_shared<Answer>(Answer{route, std::move(body), held}));
}

void FakeHttpClient::answerAlways(const QString &route, const QByteArray &body)
{
    m_standing[route] = std::make_shared<Answer>(Answer{route, body, false});
}

void FakeHttpClient::failAlways(const QString &route)
{
    m_standing[route] = std::make_shared<Answer>(Answer{route, std::nullopt, false});
}

void FakeHttpClient::release(const QString &route, const QByteArray &body)
{
    releaseWith(route, body);
}

void FakeHttpClient::releaseFailure(const QString &route)
{
    releaseWith(route, std::nullopt);
}

void FakeHttpClient::releaseWith(const QString &route, Body body)
{
    const auto held = std::find_if(m_open.begin(), m_open.end(),
                                   [&](const Open &open) { return !route.isEmpty() && open.route == route; });
    if (held == m_open.end()) {
        problem(QStringLiteral("no request waits on ") + route);
        return;
    }
    finish(held->completion, std::move(body));
    drainEvents();
}

QStringList FakeHttpClient::lines() const
{
    QStringList lines;
    for (const Request &request : m_requests)
        lines.append(request.line());
    return lines;
}

QStringList FakeHttpClient::problems() const
{
    QStringList all = m_problems;
    for (const auto &[route, queue] : m_queues) {
        if (!queue.empty())
            all.append(QStringLiteral("%1 unused answer(s) for %2").arg(queue.size()).arg(route));
    }
    return all;
}

QCoro::Task<std::optional<QByteArray>> FakeHttpClient::get(QUrl url, std::vector<HttpHeader> headers)
{
    if (m_closing)
        co_return std::nullopt;
    m_requests.push_back({std::move(url), std::move(headers)});
    const auto completion = std::make_shared<Completion<Body>>();
    const auto answer = take(m_requests.back());
    const bool held = answer && answer->held;
    m_open.push_back({held ? answer->route : QString(), completion});
    m_mostOpen = std::max(m_mostOpen, openCount());
    if (!held)
        answerLater(completion, answer ? answer->body : std::nullopt);
    co_return co_await *completion;
}

std::shared_ptr<FakeHttpClient::Answer> FakeHttpClient::take(const Request &request)
{
    const QString host = request.url.host();
    const QString line = request.line();
    const QString path = request.url.path(QUrl::FullyEncoded);
    for (const QString &route : {QString(host + line), line, QString(host + path), path}) {
        if (const auto queue = m_queues.find(route); queue != m_queues.end() && !queue->second.empty()) {
            const auto answer = queue->second.front();
            queue->second.pop_front();
            return answer;
        }
        if (const auto standing = m_standing.find(route); standing != m_standing.end())
            return standing->second;
    }
    problem(QStringLiteral("unexpected request ") + host + line);
    return nullptr;
}

// No real answer arrives inside the call that asks for it.
void FakeHttpClient::answerLater(const std::shared_ptr<Completion<Body>> &completion, Body body)
{
    QMetaObject::invokeMethod(
        m_context.get(),
        [this, completion, body = std::move(body)]() mutable { finish(completion, std::move(body)); },
        Qt::QueuedConnection);
}

void FakeHttpClient::finish(const std::shared_ptr<Completion<Body>> &completion, Body body)
{
    const auto own = completion;
    std::erase_if(m_open, [&](const Open &open) { return open.completion == own; });
    own->complete(std::move(body));
}

void FakeHttpClient::problem(const QString &text)
{
    m_problems.append(text);
    if (m_unexpected == Unexpected::failTest && QTest::currentTestFunction())
        QTest::qFail(qPrintable(text), __FILE__, __LINE__);
}

} // namespace kestrune::test
