/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

// After Qt's headers, see Reelhouse.hpp.
#include <obs.hpp>

namespace reelhouse {

// What the user has chosen for the queue of one source. The choices have an object of their own in the source's private
// settings, because the keys of the record are fixed. User-interface thread.
struct QueueOptions {
	bool skipFailed = false; // pass over tracks that cannot be played
	bool startAgain = false; // the first track follows the last one

	bool operator==(const QueueOptions &) const = default;

	// Absent values read as false.
	static QueueOptions read(obs_data_t *privateSettings);
	// Leaves other keys of the object as they are.
	void write(obs_data_t *privateSettings) const;
};

} // namespace reelhouse
