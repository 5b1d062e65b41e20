#include "Comparison.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kShortestSampleUs = 20.0;
constexpr int kWarmUpSamples = 5;
constexpr double kWarmUpUs = 50000.0;

double microsecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double percentile(std::vector<double> values, double part)
{
    require(!values.empty(), "a result is asked for before it was measured");
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (place - static_cast<double>(below));
}

} // namespace

int Comparison::add(std::string name, std::function<void()> run, std::function<void()> prepare)
{
    m_works.push_back({std::move(name), std::move(run), std::move(prepare)});
    return static_cast<int>(m_works.size()) - 1;
}

double Comparison::sampleUs(int work) const
{
    const Work &measured = m_works.at(work);
    if (measured.prepare)
        measured.prepare();
    const auto start = Clock::now();
    for (int i = 0; i < measured.repetitions; ++i)
        measured.run();
    return microsecondsSince(start) / measured.repetitions;
}

void Comparison::warmUp(int work)
{
    const auto start = Clock::now();
    for (int i = 0; i < kWarmUpSamples || microsecondsSince(start) < kWarmUpUs; ++i) {
        const double us = sampleUs(work);
        int &repetitions = m_works.at(work).repetitions;
        if (!m_works.at(work).prepare && us * repetitions < kShortestSampleUs)
            repetitions *= 2;
    }
}

void Comparison::measure(int rounds)
{
    const int count = static_cast<int>(m_works.size());
    for (int work = 0; work < count; ++work)
        warmUp(work);
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < count; ++i) {
            const int work = (round + i) % count;
            m_works.at(work).samplesUs.push_back(sampleUs(work));
        }
    }
}

double Comparison::medianUs(int work) const
{
    return percentile(m_works.at(work).samplesUs, 0.5);
}

double Comparison::percentile95Us(int work) const
{
    return percentile(m_works.at(work).samplesUs, 0.95);
}

double Comparison::ratio(int work, int reference) const
{
    const std::vector<double> &samples = m_works.at(work).samplesUs;
    const std::vector<double> &references = m_works.at(reference).samplesUs;
    std::vector<double> ratios;
    for (std::size_t round = 0; round < samples.size(); ++round)
        ratios.push_back(samples[round] / references[round]);
    return percentile(std::move(ratios), 0.5);
}

void Comparison::print(const char *title, int reference) const
{
    std::printf("\n%-44s %9s %12s %12s\n", title, "ratio", "median us", "95 % us");
    for (int work = 0; work < static_cast<int>(m_works.size()); ++work) {
        std::printf("%-44s %9.3f %12.2f %12.2f\n", name(work).c_str(), ratio(work, reference),
                    medianUs(work), percentile95Us(work));
    }
    std::fflush(stdout);
}

void useCLocale()
{
    std::setlocale(LC_ALL, "C");
}

void giveUp(const char *why)
{
    std::fprintf(stderr, "Nothing can be measured: %s.\n", why);
    std::fflush(nullptr);
    // Other threads may be at work with what an orderly end would take from them.
    std::_Exit(1);
}
