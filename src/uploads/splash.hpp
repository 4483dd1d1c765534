// Splash image update: the staged upload becomes /xoem/default.jpg, whatever its content. The folder /xoem is
// kept as a tar archive in a flash partition, which is written again each time.

#pragma once

// Installs the image and writes a line into the answer. Failures after the image was moved are not reported.
void update_splash();
