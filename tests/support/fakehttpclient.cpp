// SPDX-License-Identifier: MIT
#include "support/fakehttpclient.h"

#include "support/eventloop.h"

#include <QTest>

#include <algorithm>
#include <utility>

namespace kestrune::test {

QString FakeHttpClient::Request::line() const
{
    const QString path = url.path(QUrl::FullyEncoded);
    return url.hasQuery() ? path + u'?' + url.query(QUrl::FullyEncoded) : path;
}

QByteArray FakeHttpClient::Request::header(const QByteArray &name) const
{
    const auto found = std::ranges::find(headers, name, &HttpHeader::name);
    return found == headers.end() ? QByteArray() : found->value;
}

FakeHttpClient::~FakeHttpClient()
{
    m_closing = true;
    m_context.reset();
    while (!m_open.empty())
        finish(m_open.front().completion, std::nullopt);
}

void FakeHttpClient::release(const QString &route, const std::optional<QByteArray> &body)
{
    const auto held = std::ranges::find(m_open, route, &Open::heldOn);
    if (held == m_open.end())
        return problem(QStringLiteral("no request waits on ") + route);
    finish(held->completion, body ? Result(HttpAnswer{*body}) : std::nullopt);
    drainEvents();
}

QStringList FakeHttpClient::lines() const
{
    QStringList lines;
    for (const Request &request : m_requests)
        lines.append(request.line());
    return lines;
}

QStringList FakeHttpClient::heldLines() const
{
    QStringList lines;
    for (const Open &open : m_open)
        lines.append(open.heldOn);
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

QCoro::Task<FakeHttpClient::Result> FakeHttpClient::get(QUrl url, std::vector<HttpHeader> headers)
{
    if (m_closing)
        co_return std::nullopt;
    m_requests.push_back({std::move(url), std::move(headers)});
    const auto completion = std::make_shared<Completion<Result>>();
    const Answer answer = take(m_requests.back());
    m_open.push_back({answer.heldOn, completion});
    if (answer.heldOn.isEmpty())
        finishLater(completion, answer.result);
    co_return co_await *completion;
}

FakeHttpClient::Answer FakeHttpClient::take(const Request &request)
{
    if (m_holdsEverything)
        return {{}, request.line()};
    for (const QString &route : {request.line(), request.url.path(QUrl::FullyEncoded)}) {
        if (const auto queue = m_queues.find(route); queue != m_queues.end() && !queue->second.empty()) {
            const Answer answer = queue->second.front();
            queue->second.pop_front();
            return answer;
        }
        if (const auto standing = m_standing.find(route); standing != m_standing.end())
            return standing->second;
    }
    problem(QStringLiteral("unexpected request ") + request.url.host() + request.line());
    return {};
}

// No real answer arrives inside the call that asks for it.
void FakeHttpClient::finishLater(const std::shared_ptr<Completion<Result>> &completion, const Result &result)
{
    QMetaObject::invokeMethod(
        m_context.get(), [this, completion, result] { finish(completion, result); }, Qt::QueuedConnection);
}

void FakeHttpClient::finish(const std::shared_ptr<Completion<Result>> &completion, const Result &result)
{
    const auto own = completion;
    std::erase_if(m_open, [&](const Open &open) { return open.completion == own; });
    own->complete(result);
}

void FakeHttpClient::problem(const QString &text)
{
    m_problems.append(text);
    if (QTest::currentTestFunction())
        QTest::qFail(qPrintable(text), __FILE__, __LINE__);
}

} // namespace kestrune::test
