// This process as others see it.

#pragma once

// Takes this process off the list of those that bear the program's name, once it has given its memory back:
// that is before its end shows to whoever reads its answer. For the end of a request.
void leave_process_list();
