/** A translation, or why there is none. */
export type Answer = { text: string } | { error: string };

function promptFor(language: string): string {
  return "You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing in some " +
    "English words or technical terms. Translate everything they said into fluent, natural, native-sounding " +
    language + ". Preserve the meaning, tone, and level of formality. Output ONLY the final " + language +
    " text — no quotes, no preamble, no explanations.";
}

type Json = Record<string, unknown>;

function object(value: unknown): Json | undefined {
  return value !== null && typeof value === "object" && !Array.isArray(value) ? value as Json : undefined;
}

function parse(body: string): Json | undefined {
  try {
    return object(JSON.parse(body));
  } catch {
    return undefined;
  }
}

function read(status: number, body: string): Answer {
  if (body === "") return { error: "Empty response from OpenRouter" };
  const reply = parse(body);
  if (!reply) return { error: "Unparseable response from OpenRouter" };
  const message = object(reply.error)?.message;
  if (typeof message === "string") return { error: message };
  if (Array.isArray(reply.choices) && reply.choices.every(object)) {
    const content = object(reply.choices[0]?.message)?.content;
    if (typeof content === "string") return { text: content.trim() };
  }
  return { error: `Unexpected response (HTTP ${status})` };
}

/** Has the model service translate a WAV file in base64. Settled within the minute that the program waits. */
export async function askModel(audio: string, language: string): Promise<Answer> {
  const service = Deno.env.get("OPENROUTER_URL") ?? "https://openrouter.ai";
  try {
    const response = await fetch(`${service}/api/v1/chat/completions`, {
      method: "POST",
      headers: {
        Authorization: `Bearer ${Deno.env.get("OPENROUTER_API_KEY")}`,
        "Content-Type": "application/json",
      },
      body: JSON.stringify({
        model: Deno.env.get("OPENROUTER_MODEL") ?? "google/gemini-2.5-flash",
        temperature: 0.2,
        messages: [{
          role: "user",
          content: [
            { type: "text", text: promptFor(language) },
            { type: "input_audio", input_audio: { data: audio, format: "wav" } },
          ],
        }],
      }),
      signal: AbortSignal.timeout(50_000),
    });
    return read(response.status, await response.text());
  } catch {
    return { error: "The model service did not answer" };
  }
}
