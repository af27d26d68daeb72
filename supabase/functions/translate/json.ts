export type Json = Record<string, unknown>;

/** The value if it is a JSON object. */
export function object(value: unknown): Json | undefined {
  return value !== null && typeof value === "object" && !Array.isArray(value) ? value as Json : undefined;
}

/** The JSON object that a text is; undefined for any other text. */
export function parse(text: string): Json | undefined {
  try {
    return object(JSON.parse(text));
  } catch {
    return undefined;
  }
}
