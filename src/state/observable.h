// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <functional>
#include <utility>

namespace kestrune {

class ObservableObject;

/// The part of a published field that does not depend on its type; its address identifies the field.
class PublishedField
{
public:
    PublishedField(const PublishedField &) = delete;
    PublishedField &operator=(const PublishedField &) = delete;

protected:
    explicit PublishedField(ObservableObject &owner) : m_owner(owner) {}
    ~PublishedField() = default;
    void willChange() const;

private:
    ObservableObject &m_owner;
};

/// An object whose published fields announce every assignment, before it happens and also when the value
/// stays equal. Confined to its own thread; every assignment asserts that.
class ObservableObject : public QObject
{
    Q_OBJECT
public:
    /// Runs `reaction` on a later turn of the event loop for every announced change of `field`, so that it
    /// reads the stored value; only while `context` lives. Nothing is folded together.
    void onChange(const PublishedField &field, QObject *context, std::function<void()> reaction);

Q_SIGNALS:
    /// Some published field is about to change. A reader that runs inside this signal sees the old value.
    void objectWillChange();
    void fieldWillChange(const kestrune::PublishedField *field);

private:
    friend class PublishedField;
    void announce(const PublishedField *field);
};

/// A field of an ObservableObject: `field()` reads, `field = value` announces, stores the value and then
/// runs the did-set action (persisting it, or what else the field does on every assignment).
template <typename T>
class Published final : public PublishedField
{
public:
    using DidSet = std::function<void(const T &)>;

    explicit Published(ObservableObject &owner, T initial = {}, DidSet didSet = {})
        : PublishedField(owner), m_value(std::move(initial)), m_didSet(std::move(didSet))
    {}

    [[nodiscard]] const T &operator()() const { return m_value; }

    Published &operator=(T value)
    {
        willChange();
        m_value = std::move(value);
        if (m_didSet)
            m_didSet(m_value);
        return *this;
    }

private:
    T m_value;
    DidSet m_didSet;
};

} // namespace kestrune
