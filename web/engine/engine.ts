// A module in a worker of its own, so that the page stays awake while it draws.
import { KorvError, type Korv } from "./module.ts";

type Method = {
  [Name in keyof Korv]: Korv[Name] extends (...values: infer Values) => infer Value
    ? (...values: Values) => Promise<Value>
    : never;
};

interface Waiting {
  resolve(value: unknown): void;
  reject(error: Error): void;
}

export class Engine {
  private worker: Worker | undefined;
  private readonly waiting = new Map<number, Waiting>();
  private next = 0;
  // The module's functions, each as a promise.
  readonly ask: Method;

  constructor(
    private readonly module: WebAssembly.Module,
    private readonly script: string, // address of the worker's code
  ) {
    this.ask = new Proxy({} as Method, {
      get: (_, name) => (...values: unknown[]) => this.send(String(name), values),
    });
  }

  // Ends the worker. The next request gets a new one, which knows nothing of what was before.
  end(): void {
    this.worker?.terminate();
    this.worker = undefined;
    for (const { reject } of this.waiting.values()) {
      reject(new KorvError("stopped"));
    }
    this.waiting.clear();
  }

  private start(): Worker {
    const worker = new Worker(this.script);
    worker.postMessage({ module: this.module });
    worker.onmessage = ({ data }) => {
      const waiting = this.waiting.get(data.id);
      this.waiting.delete(data.id);
      if (!("error" in data)) {
        waiting?.resolve(data.value);
        return;
      }
      waiting?.reject(new KorvError(data.fatal ? `the module has stopped: ${data.error}` : data.error));
      if (data.fatal) {
        this.end();
      }
    };
    worker.onerror = (event) => {
      event.preventDefault();
      this.end();
    };
    return worker;
  }

  private send(name: string, values: unknown[]): Promise<unknown> {
    this.worker ??= this.start();
    const id = this.next++;
    return new Promise((resolve, reject) => {
      this.waiting.set(id, { resolve, reject });
      this.worker?.postMessage({ id, name, values });
    });
  }
}
