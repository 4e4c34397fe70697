#ifndef WATCH_RING_H
#define WATCH_RING_H

#include <vector>

/// The last values of a series, never more than its capacity.
template<class Value>
class Ring
{
public:
    /// capacity is 1 or more.
    explicit Ring(std::size_t capacity) : m_capacity(capacity) {}

    /// The oldest value makes place when the ring is full.
    void append(const Value& value)
    {
        if (m_values.size() < m_capacity) {
            m_values.push_back(value);
            return;
        }
        m_values[m_oldest] = value;
        m_oldest = (m_oldest + 1) % m_capacity;
    }

    std::size_t size() const { return m_values.size(); }

    /// index counts from the oldest value, 0 to size() - 1.
    const Value& at(std::size_t index) const { return m_values[(m_oldest + index) % m_values.size()]; }

    /// All values, in no order.
    const std::vector<Value>& unordered() const { return m_values; }

private:
    std::size_t m_capacity;
    std::size_t m_oldest = 0;
    std::vector<Value> m_values;
};

#endif
