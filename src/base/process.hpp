// What other processes see of this one.

#pragma once

// Renames the process, so that pidof no longer finds it while it exits: the client may see EOF and send its
// next request before the server has reaped us. Called last, at exit.
//
//     exit      memory is freed    the command line can no longer be read
//               fds are closed     the client sees EOF; the pidof of its next request must not find us
//               zombie             until the server reaps it; busybox pidof finds a zombie by its name
void leave_process_list();
