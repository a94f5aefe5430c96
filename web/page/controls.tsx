import type { ComponentChildren } from "preact";
import { useId } from "preact/hooks";

export interface Option {
  value: string;
  label: string;
  title?: string;
  disabled?: boolean;
}

// One of a list.
export function Select(props: { label: string; value: string; options: Option[]; onChange(value: string): void }) {
  const id = useId();
  return (
    <div class="field">
      <label for={id}>{props.label}</label>
      <select id={id} value={props.value} onChange={(event) => props.onChange(event.currentTarget.value)}>
        {props.options.map((option) => (
          <option key={option.value} value={option.value} disabled={option.disabled} title={option.title}>
            {option.label}
          </option>
        ))}
      </select>
    </div>
  );
}

// One of a few, all to be seen.
export function Choice(props: { label: string; value: string; options: Option[]; onChange(value: string): void }) {
  const name = useId();
  return (
    <fieldset class="choice">
      <legend>{props.label}</legend>
      <div class="segments">
        {props.options.map((option) => (
          <label key={option.value} title={option.title}>
            <input type="radio" name={name} value={option.value} checked={props.value === option.value}
              onChange={() => props.onChange(option.value)} />
            <span>{option.label}</span>
          </label>
        ))}
      </div>
    </fieldset>
  );
}

// Views beside each other, of which one shows.
export function Tabs(props: { label: string; value: string; tabs: Option[]; onChange(value: string): void; children: ComponentChildren }) {
  const id = useId();
  const move = (event: KeyboardEvent) => {
    const step = event.key === "ArrowRight" ? 1 : event.key === "ArrowLeft" ? -1 : 0;
    if (step !== 0) {
      const at = props.tabs.findIndex((tab) => tab.value === props.value);
      const next = props.tabs[(at + step + props.tabs.length) % props.tabs.length].value;
      props.onChange(next);
      document.getElementById(`${id}-${next}`)?.focus();
      event.preventDefault();
    }
  };
  return (
    <section class="tabs">
      <div role="tablist" aria-label={props.label} onKeyDown={move}>
        {props.tabs.map((tab) => (
          <button key={tab.value} id={`${id}-${tab.value}`} role="tab" type="button" aria-selected={props.value === tab.value}
            aria-controls={`${id}-panel`} tabIndex={props.value === tab.value ? 0 : -1} onClick={() => props.onChange(tab.value)}>
            {tab.label}
          </button>
        ))}
      </div>
      <div id={`${id}-panel`} role="tabpanel" aria-labelledby={`${id}-${props.value}`} class="panel">
        {props.children}
      </div>
    </section>
  );
}

// What went wrong, for people.
export function Problem({ text }: { text: string }) {
  return text === "" ? null : <p class="problem" role="alert">{text}</p>;
}

// What was chosen. The same file can be chosen again: it may have changed.
export function filesOf(input: HTMLInputElement): File[] {
  const files = [...(input.files ?? [])];
  input.value = "";
  return files;
}

export function save(blob: Blob, name: string): void {
  const address = URL.createObjectURL(blob);
  const link = document.createElement("a");
  link.href = address;
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(address), 1000);
}
