#pragma once

#include <functional>
#include <string>
#include <vector>

/// Measures several works side by side: every round times each of them once, in turning order, so
/// that whatever else the machine does in between meets them all.
class Comparison {
public:
    /// @param prepare  is done before each sample and not timed. Without it, a work that is too
    ///                 short for the clock is repeated within a sample.
    /// @return the number by which results are asked for, counted from 0
    int add(std::string name, std::function<void()> run, std::function<void()> prepare = {});
    /// Warms up, then measures.
    void measure(int rounds);

    const std::string &name(int work) const { return m_works.at(work).name; }
    /// Of one run; the 95th percentile of a short work is that of its samples.
    double medianUs(int work) const;
    double percentile95Us(int work) const;
    /// Median over the rounds of one work's time against another's in the same round.
    double ratio(int work, int reference) const;

    /// One line for each work: its ratio to @p reference, and its times.
    void print(const char *title, int reference) const;

private:
    struct Work {
        std::string name;
        std::function<void()> run;
        std::function<void()> prepare;
        int repetitions = 1;                ///< within a sample
        std::vector<double> samplesUs = {}; ///< of each round
    };

    double sampleUs(int work) const;
    void warmUp(int work);

    std::vector<Work> m_works;
};

/// Numbers and texts as everywhere in these programs: the C locale, whatever the environment says.
/// To be called when the application object is there, which sets the locale.
void useCLocale();

/// Says on the error stream why nothing can be measured, and ends the program.
[[noreturn]] void giveUp(const char *why);

/// Gives up if what is measured does not do what it should.
inline void require(bool condition, const char *otherwise)
{
    if (!condition)
        giveUp(otherwise);
}
