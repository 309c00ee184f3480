/**
 * Sends values one after the other. While one is on its way only the newest of those that follow is kept: a box that is
 * scrolled needs its last place, not all places on the way.
 */
export class Latest {
  /** send: takes a value, returns a promise. failed: is told what a send threw; the next value is sent all the same. */
  constructor(send, failed = () => {}) {
    this.send = send;
    this.failed = failed;
    this.waiting = [];
    this.running = null;
  }

  put(value) {
    this.waiting = [value];
    if (!this.running) this.running = this.run();
  }

  /** When everything has been sent. */
  settled() {
    return this.running || Promise.resolve();
  }

  async run() {
    while (this.waiting.length > 0) {
      const value = this.waiting.pop();
      try {
        await this.send(value);
      } catch (error) {
        this.failed(error);
      }
    }
    this.running = null;
  }
}
