import { readText } from "./body.ts";
import { type Json, object, parse } from "./json.ts";

function promptFor(language: string): string {
  return "You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing in some " +
    "English words or technical terms. Translate everything they said into fluent, natural, native-sounding " +
    language + ". Preserve the meaning, tone, and level of formality. Output ONLY the final " + language +
    " text — no quotes, no preamble, no explanations.";
}

/** Several times what is said in the time, in scripts of many tokens a word, and room for a model that thinks first. */
function mostTokens(seconds: number): number {
  return 4_000 + 30 * Math.ceil(seconds);
}

/** Throws, without a word of the reply, when it holds no translation. */
function read(status: number, reply: Json | undefined): string | undefined {
  const error = object(reply?.error);
  const choice = Array.isArray(reply?.choices) ? object(reply.choices[0]) : undefined;
  const text = object(choice?.message)?.content;
  if (!error && choice?.finish_reason === "length") return undefined;
  if (error || typeof text !== "string" || choice?.finish_reason === "error") {
    throw new Error(`model service: HTTP ${typeof error?.code === "number" ? error.code : status}`);
  }
  return text.trim();
}

/**
 * Has the model service translate a WAV file in base64; undefined when the translation was cut off. Rejects when the
 * service fails. Settled soon enough for the minute that the program waits.
 */
export async function askModel(audio: string, seconds: number, language: string): Promise<string | undefined> {
  const service = Deno.env.get("OPENROUTER_URL") ?? "https://openrouter.ai";
  const tokens = mostTokens(seconds);
  const request = JSON.stringify({
    model: Deno.env.get("OPENROUTER_MODEL") ?? "google/gemini-2.5-flash",
    temperature: 0.2,
    max_tokens: tokens,
    provider: { data_collection: Deno.env.get("OPENROUTER_DATA_COLLECTION") ?? "deny" },
    messages: [{
      role: "user",
      content: [
        { type: "text", text: promptFor(language) },
        { type: "input_audio", input_audio: { data: "", format: "wav" } },
      ],
    }],
  });
  // The recording is put in between: in one text with it, the prompt's dash would cost two bytes for each of its letters.
  const end = request.lastIndexOf('","format"');
  const response = await fetch(`${service}/api/v1/chat/completions`, {
    method: "POST",
    headers: {
      Authorization: `Bearer ${Deno.env.get("OPENROUTER_API_KEY")}`,
      "Content-Type": "application/json",
    },
    body: new Blob([request.slice(0, end), audio, request.slice(end)]),
    signal: AbortSignal.timeout(45_000),
  });
  return read(response.status, parse(await readText(response, 64_000 + 64 * tokens) ?? ""));
}
