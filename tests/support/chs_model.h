// The CHS interpolator as a plain model: the ring, each call's output count, and each output's position, fraction
// and cubic with the interpolator's grouping of adds and multiplies.
#pragma once

#include <cstdint>
#include <vector>

#include "qxcalc.h"
#include "support/lane_model.h"

namespace qxtest::chs {

class Model {
public:
    Model(double inputRate, double outputRate, uint32_t length)
        : ratio_(outputRate / inputRate), length_(length), ring_(length, 0.0f)  // the library's ring starts zeroed
    {
    }
    QxcalcStatus feed(const float* samples, uint32_t count, std::vector<float>& out)
    {
        if (count == 0) return QxcalcStatusInvalidArgument;
        if (count > length_ - 2) return QxcalcStatusTooManyValues;
        if (stopped_) return QxcalcStatusStopped;
        for (uint32_t k = 0; k < count; ++k) ring_[written_++ % length_] = samples[k];
        return step(out);
    }
    // Stop repeats the last sample once; `delivered` tells whether the outputs were written at all.
    QxcalcStatus stop(std::vector<float>& out, bool& delivered)
    {
        if (stopped_) return QxcalcStatusStopped;
        stopped_ = true;
        delivered = length_ > 2;
        if (!delivered) return QxcalcStatusOk;
        ring_[written_ % length_] = ring_[(written_ - 1) % length_];
        ++written_;
        return step(out);
    }
    void reset()
    {
        written_ = produced_ = 0;
        stopped_ = false;
    }
    bool stopped() const { return stopped_; }
    bool exceededCapacity() const { return exceededCapacity_; }

private:
    QxcalcStatus step(std::vector<float>& out)
    {
        static constexpr float kWeights[4][4] = {{0, 2, 0, 0}, {-1, 0, 1, 0}, {2, -5, 4, -1}, {-1, 3, -3, 1}};
        const auto add = addX86<float>, mul = mulX86<float>;
        out.clear();
        if (written_ < 2) return QxcalcStatusOk;
        const double end = static_cast<double>(written_ - 2) * ratio_ + 1.0;
        const uint32_t n = static_cast<uint32_t>(static_cast<uint64_t>(end)) - static_cast<uint32_t>(produced_);
        const uint32_t capacity = static_cast<uint32_t>(static_cast<int32_t>((length_ + 1.0) * ratio_));
        exceededCapacity_ |= n > capacity + 1u;  // the output buffer holds capacity + 1
        const double start = static_cast<double>(produced_) / ratio_;
        int64_t segment = -1;
        float c[4] = {};
        for (uint32_t i = 0; i < n; ++i) {
            const double pos = static_cast<double>(i) / ratio_ + start;
            const uint32_t idx = static_cast<uint32_t>(static_cast<uint64_t>(pos)) & (length_ - 1);
            const float t = static_cast<float>(pos - static_cast<double>(static_cast<int32_t>(pos)));
            if (idx != segment) {
                segment = idx;
                const float p0 = idx != 0 ? ring_[idx - 1] : written_ >= length_ ? ring_[length_ - 1] : ring_[0];
                const float p[4] = {p0, ring_[idx], ring_[(idx + 1) % length_], ring_[(idx + 2) % length_]};
                for (int k = 0; k < 4; ++k) {
                    const float* w = kWeights[k];
                    c[k] = add(add(mul(w[0], p[0]), mul(w[1], p[1])), add(mul(w[2], p[2]), mul(w[3], p[3])));
                }
            }
            const float t2 = mul(t, t), t3 = mul(t, t2);
            out.push_back(mul(0.5f, add(add(mul(c[0], 1.0f), mul(c[1], t)), add(mul(c[2], t2), mul(c[3], t3)))));
        }
        produced_ += n;
        return QxcalcStatusOk;
    }

    double ratio_;
    uint32_t length_;
    std::vector<float> ring_;
    uint64_t written_ = 0, produced_ = 0;
    bool stopped_ = false, exceededCapacity_ = false;
};

}  // namespace qxtest::chs
