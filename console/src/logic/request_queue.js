// One request at a time. The unit refuses whatever comes while another request runs, and each request that it admits
// stops its video link, so the console's own requests wait for each other, keep a distance, and are few.

const distance = 200; // milliseconds between the end of a request and the next one
const retryDelays = [300, 500, 1000, 2000, 3000, 5000, 5000, 5000, 5000, 5000]; // of a busy unit

// Asked before an upload: a unit that is busy would refuse the upload only after the whole of it has been sent.
export const smallQuestion = 'CHECK_IMPORT_CSV_STATUS';

const smallLimit = 15_000; // milliseconds, within which any unit that is there answers it

// Thrown for a request that came to nothing. Kinds: `busy`, `updating`, `broken`, `login`, `unreachable`, `cancelled`, and
// `withdrawn` for what was cancelled before anything was sent, `started` for an upload whose answer did
// not come and since which a firmware update runs.
export class RequestFailure extends Error {
  constructor(kind, command) {
    super(`${command}: ${kind}`);
    this.kind = kind;
    this.command = command;
  }
}

// Settles as the promise does, or at once when `signal` ends the wait.
function unlessCancelled(promise, signal, command) {
  if (!signal) return promise;
  const cancelled = new Promise((_, reject) => {
    const end = () => reject(new RequestFailure('withdrawn', command));
    if (signal.aborted) end();
    else signal.addEventListener('abort', end, { once: true });
  });
  return Promise.race([cancelled, promise]);
}

// A queue sends with `send(command, options)`, which returns {kind, body} as answer.js reads it and may throw a
// RequestFailure, waits with `sleep(milliseconds)`, and calls `report({job, command, tries})` with whatever it does: null for
// nothing.
export class RequestQueue {
  #tail = Promise.resolve();
  #free = Promise.resolve();

  constructor(send, sleep, report = () => {}) {
    this.send = send;
    this.sleep = sleep;
    this.report = report;
  }

  // Runs `work(unit)` when all earlier jobs have ended; `unit.ask` and `unit.upload` send its requests, and nothing of
  // another job comes between them. Settles as the work does; `signal` takes a job out that has not had its turn.
  run(job, work, signal) {
    const before = this.#tail;
    const result = unlessCancelled(before, signal, job).then(() => this.#turn(job, work));
    this.#tail = Promise.allSettled([before, result]);
    return result;
  }

  async #turn(job, work) {
    try {
      return await work({
        ask: (command, options) => this.#request(job, command, options),
        upload: (command, file, options) => this.#upload(job, command, { ...options, file }),
      });
    } finally {
      this.report(null);
    }
  }

  // One command that needs no company.
  ask(job, command, options) {
    return this.run(job, (unit) => unit.ask(command, options));
  }

  async #upload(job, command, options) {
    await this.#askSmall(job, options.signal);
    try {
      return await this.#request(job, command, options);
    } catch (failure) {
      // A body that was cut short leaves the link stopped; the end of any other request restarts it.
      const after = failure.kind !== 'updating' && (await this.#askSmall(job).catch((later) => later));
      // Before the upload no update ran.
      throw ['broken', 'cancelled'].includes(failure.kind) && after?.kind === 'updating'
        ? new RequestFailure('started', command)
        : failure;
    }
  }

  async #askSmall(job, signal) {
    try {
      return await this.#request(job, smallQuestion, { signal, limit: smallLimit });
    } catch (failure) {
      throw failure.kind === 'cancelled' ? new RequestFailure('withdrawn', smallQuestion) : failure;
    }
  }

  // Returns the body of the answer. A busy unit is asked again, any other failure is thrown.
  async #request(job, command, options = {}) {
    const wait = (pause) => unlessCancelled(pause, options.signal, command);
    for (let tries = 0; ; ++tries) {
      await wait(this.#free);
      this.report({ job, command, tries });
      const { kind, body } = await this.#sendOnce(command, options);
      if (kind === 'done') return body;
      if (kind !== 'busy' || tries === retryDelays.length) throw new RequestFailure(kind, command);
      this.report({ job, command, tries: tries + 1 });
      await wait(this.sleep(retryDelays[tries]));
    }
  }

  async #sendOnce(command, options) {
    try {
      return await this.send(command, options);
    } finally {
      this.#free = this.sleep(distance);
    }
  }
}
