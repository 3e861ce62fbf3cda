#include "trend.h"

namespace kelvor::trust {

void Trend::Add(double when, double measure)
{
    measures_.push_back({when, measure});
}

double Trend::Slope() const
{
    const auto count = static_cast<double>(measures_.size() - Begin());
    double whenMean = 0;
    double valueMean = 0;
    for (std::size_t i = Begin(); i < measures_.size(); ++i) {
        whenMean += measures_[i].when / count;
        valueMean += measures_[i].value / count;
    }
    double together = 0;
    double spread = 0;
    for (std::size_t i = Begin(); i < measures_.size(); ++i) {
        const double distance = measures_[i].when - whenMean;
        together += distance * (measures_[i].value - valueMean);
        spread += distance * distance;
    }
    return spread > 0 ? together / spread : 0;
}

double Trend::Growth() const
{
    return Slope() * (measures_.back().when - measures_[Begin()].when);
}

}  // namespace kelvor::trust
