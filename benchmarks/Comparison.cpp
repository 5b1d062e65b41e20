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

int Comparison::add(Work work)
{
    m_works.push_back(std::move(work));
    m_repetitions.push_back(1);
    m_samplesUs.emplace_back();
    return static_cast<int>(m_works.size()) - 1;
}

double Comparison::sampleUs(int work) const
{
    const Work &measured = m_works.at(work);
    if (measured.prepare)
        measured.prepare();
    const int repetitions = m_repetitions.at(work);
    const auto start = Clock::now();
    for (int i = 0; i < repetitions; ++i)
        measured.run();
    return microsecondsSince(start) / repetitions;
}

void Comparison::warmUp(int work)
{
    const auto start = Clock::now();
    for (int i = 0; i < kWarmUpSamples || microsecondsSince(start) < kWarmUpUs; ++i) {
        const double us = sampleUs(work);
        int &repetitions = m_repetitions.at(work);
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
            m_samplesUs.at(work).push_back(sampleUs(work));
        }
    }
}

double Comparison::medianUs(int work) const
{
    return percentile(m_samplesUs.at(work), 0.5);
}

double Comparison::percentile95Us(int work) const
{
    return percentile(m_samplesUs.at(work), 0.95);
}

double Comparison::ratio(int work, int reference) const
{
    const std::vector<double> &samples = m_samplesUs.at(work);
    const std::vector<double> &references = m_samplesUs.at(reference);
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

void require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "Nothing can be measured: %s.\n", what);
    std::exit(1);
}
