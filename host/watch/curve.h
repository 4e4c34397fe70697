#ifndef WATCH_CURVE_H
#define WATCH_CURVE_H

#include <QtGlobal>

#include <vector>

/// A point of a curve.
struct CurvePoint
{
    double time;  ///< seconds
    double value; ///< not a number: the line is broken here
};

/// What a picture shows of a series of samples, in a size that does not grow: for each short part of the time
/// the smallest and the largest value, so that no peak is lost. Short means at most 1/1000 of the whole.
class Curve
{
public:
    /// Samples must come in the order of their times. One that is not finite breaks the line.
    void add(double time, double value);

    /// Something is missing between the last sample and the next one.
    void breakLine();

    bool isEmpty() const { return m_parts.empty(); }

    /// Every sample was 0 or 1.
    bool isBinary() const { return m_isBinary; }

    /// At most 8000 points, and half as many breaks.
    std::vector<CurvePoint> points() const;

private:
    struct Part
    {
        CurvePoint least;
        CurvePoint most;
        bool endsLine;

        void include(const Part& other);
    };

    static constexpr std::size_t mostParts = 4000;

    bool areOne(const Part& first, const Part& second) const;
    void join();

    std::vector<Part> m_parts;
    double m_width = 0.001; ///< length of a part in seconds
    bool m_isBinary = true;
};

#endif
