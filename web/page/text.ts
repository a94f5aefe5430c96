// Numbers and values as texts.
import type { Colour, FieldValue, Register } from "../engine/types.ts";

export const hex = (value: number, digits = 8) => (value >>> 0).toString(16).toUpperCase().padStart(digits, "0");
export const counted = (value: number) => value.toLocaleString("en");
export const plural = (count: number, thing: string) => `${counted(count)} ${thing}${count === 1 ? "" : "s"}`;

export const fieldText = (field: FieldValue) => `${field.name}=${field.text}`;

// All of a register in one line: its fields that are not zero, or its value with its unit.
export function meaningOf(register: Register): string {
  if (register.fields) {
    return register.fields.filter(({ raw }) => raw !== 0).map(fieldText).join(" ") || "0";
  }
  return [register.text, register.in].filter(Boolean).join(" ");
}

const byte = (value: number) => Math.max(0, Math.min(255, value)).toString(16).toUpperCase().padStart(2, "0");
export const cssColour = ({ red, green, blue }: Pick<Colour, "red" | "green" | "blue">) => `#${byte(red)}${byte(green)}${byte(blue)}`;

// The colour of a pixel's bits in the formats of screens and targets; none for others.
export function pixelColour(value: number, bits: number, format: string): string | undefined {
  const channel = (shift: number, width: number) => Math.floor((((value >>> shift) & ((1 << width) - 1)) * 255) / ((1 << width) - 1));
  if (format !== "rgb") {
    return undefined;
  }
  if (bits === 16) {
    return cssColour({ red: channel(10, 5), green: channel(5, 5), blue: channel(0, 5) });
  }
  return bits >= 24 ? cssColour({ red: channel(16, 8), green: channel(8, 8), blue: channel(0, 8) }) : undefined;
}
