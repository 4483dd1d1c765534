// Splash image update: the staged upload becomes /xoem/default.jpg, whatever it holds. The folder /xoem is kept
// as a tar archive on a flash partition, which is written anew from it.

#pragma once

// Writes its line into the answer. A failure after the image is in place is not reported.
void update_splash();
