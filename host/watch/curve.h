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

/// What a picture shows of a series of samples, in a size that does not grow: of each short part of the time
/// the smallest and the largest value, so that no peak is lost. Short means at most 1/1000 of the whole.
class Curve
{
public:
    /// Samples come in the order of their times. One that is not finite breaks the line.
    void add(double time, double value);

    /// Between the last sample and the next one something is missing.
    void breakLine();

    bool isEmpty() const { return m_parts.empty(); }

    /// Every sample was 0 or 1.
    bool isBinary() const { return m_isBinary; }

    /// At most 8000, and as many breaks as half of that.
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
    double m_width = 0.001; ///< seconds of a part
    bool m_isBinary = true;
};

#endif
