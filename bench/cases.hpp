/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include "Comparison.hpp"

// Each of these sets up a dock and its floor with the comparison's number of rows, and measures them.

// view_cases.cpp
void loadQueue(Comparison &comparison);
void searchFew(Comparison &comparison);
void searchHalf(Comparison &comparison);
void searchAll(Comparison &comparison);
void clearSearch(Comparison &comparison);
void paintPage(Comparison &comparison);
void weighEntries(Comparison &comparison);

// store_cases.cpp
void storeEndMode(Comparison &comparison);
void storeNotYetPlayed(Comparison &comparison);
void storePlay(Comparison &comparison);
void storeStop(Comparison &comparison);
void storeAdded(Comparison &comparison);
void storeRemoved(Comparison &comparison);
void storeMoved(Comparison &comparison);
void checkPlaylist(Comparison &comparison);

// poll_cases.cpp
void tickIdle(Comparison &comparison);
void tickPlaying(Comparison &comparison);
void tickAllSelected(Comparison &comparison);
void tickAllHidden(Comparison &comparison);
void tickManyScenes(Comparison &comparison);

// edit_cases.cpp
void removeHalf(Comparison &comparison);
void undoHalf(Comparison &comparison);
template <int rows> void dragRows(Comparison &comparison);
extern template void dragRows<1>(Comparison &comparison);
extern template void dragRows<100>(Comparison &comparison);
extern template void dragRows<1000>(Comparison &comparison);
void moveToTop(Comparison &comparison);

// remote_cases.cpp
void getQueue(Comparison &comparison);
