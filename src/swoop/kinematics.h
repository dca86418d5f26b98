// Acceleration, dive angle, heading and turn of every sample, from its velocity in the local frame.
#pragma once

#include "swoop/swoop.h"

namespace tarvel {

// Each fills one field of the samples in the range, or of all samples, from vel_local and the fields of the stages
// before it. The sample before the range must be filled already. Two samples with the same time give infinite or NaN
// accelerations and turn rates.

// acc_local, m/s2: the backward difference of the velocity, zero at sample 0.
void derive_acceleration(swoop &run, sample_range range = {});

// dive_angle, degrees below the horizon: plus or minus 90 without horizontal speed, 0 at rest.
void derive_dive_angle(swoop &run, sample_range range = {});

// heading, degrees in [0, 360): 0 along +x, clockwise seen from above.
void derive_heading(swoop &run, sample_range range = {});

// turn_angle, degrees since the previous sample, positive to the right. In near-vertical flight the heading of a GPS
// velocity may flip; a short stretch of such samples gets an even turn rate instead.
void derive_turn_angle(swoop &run);

// turn_rate, degrees per second, zero at sample 0.
void derive_turn_rate(swoop &run);

}  // namespace tarvel
