// Exit statuses.

export const status = {
  good: 0, //        all went as wanted
  held: 1, //        check: something is held back or doubtful; diff: something differs; apply: not every unit is OK
  faults: 2, //      faults, or a site that another update has changed; nothing was sent
  failed: 3, //      a unit refused, could not be reached or reported a failure, or a file cannot be read or written
  declined: 4, //    the question was answered with no, or could not be asked
  usage: 64, //      the command line is wrong
  interrupted: 130,
};
