// What every sample's speed says in the local frame: acceleration, dive angle, heading, turn.
#pragma once

#include "swoop/swoop.h"

namespace tarvel {

// Each fills its field of the range's samples, or of all, from vel_local and what the stages before it have filled; the
// sample before the range must have been through the stage. Nothing guards against two samples of one time, whose
// accelerations and turn rates are infinite or NaN.

// acc_local, m/s2: the backward difference of the speeds, zero at sample 0.
void derive_acceleration(swoop &run, sample_range range = {});

// dive_angle, degrees below the horizon: plus or minus 90 without horizontal speed, 0 at rest.
void derive_dive_angle(swoop &run, sample_range range = {});

// heading, degrees in [0, 360): 0 along +x, clockwise seen from above.
void derive_heading(swoop &run, sample_range range = {});

// turn_angle, degrees since the previous sample, positive to the right. Near-vertical flight makes the heading of a GPS
// velocity flip; a short run of such samples gets an even turn rate instead.
void derive_turn_angle(swoop &run);

// turn_rate, degrees per second, zero at sample 0.
void derive_turn_rate(swoop &run);

}  // namespace tarvel
