import { userOf } from "./accounts.ts";
import { readText } from "./body.ts";
import { parse } from "./json.ts";
import { countSpeech, dailyLimit } from "./limit.ts";
import { askModel } from "./model.ts";
import { longestAudio, longestRecording, measure } from "./recording.ts";

// What the body holds besides the recording is short.
const longestBody = longestAudio + 4_000;

/** A name of a language, not a text that would talk the model into something else. */
function isLanguage(value: unknown): value is string {
  return typeof value === "string" && value.length <= 100 && /^\p{L}[\p{L}\p{M} ()-]*$/u.test(value);
}

/** A request that is turned away, in the shape of the project's own services. */
function refusal(code: number, msg: string): Response {
  return Response.json({ code, msg }, { status: code });
}

function failure(status: number, message: string): Response {
  return Response.json({ error: { message } }, { status });
}

function tooLong(): Response {
  return failure(413, `The recording is longer than ${longestRecording / 60} minutes.`);
}

async function answer(request: Request): Promise<Response> {
  if (request.method !== "POST") return refusal(405, "Method Not Allowed");
  const type = request.headers.get("Content-Type")?.split(";")[0].trim().toLowerCase();
  if (type !== "application/json") return refusal(415, "Content-Type must be application/json");
  // Before the body is read, of which a stranger could send any amount. A user's arrives in the meantime.
  const user = await userOf(request);
  if (!user) return refusal(401, "Invalid or expired access token");
  const text = await readText(request, longestBody);
  if (text === undefined) return tooLong();
  const body = parse(text);
  if (!body) return refusal(400, "Could not parse the request's body as a JSON object");

  const { audio, language } = body;
  if (!isLanguage(language)) return failure(400, "language: a name is needed");
  const sound = measure(audio);
  if ("fault" in sound) return failure(400, `audio: ${sound.fault}`);
  if (sound.seconds > longestRecording) return tooLong();

  const limit = dailyLimit();
  if (limit !== undefined && !await countSpeech(user, sound.seconds, limit)) {
    return failure(429, `This would exceed your ${limit} seconds of speech a day. Counting starts anew at midnight UTC.`);
  }
  const translation = await askModel(audio as string, sound.seconds, language);
  if (translation === undefined) return failure(502, "The translation became too long and was cut off.");
  return Response.json({ text: translation });
}

/**
 * POST {"audio", "language"} by a signed-in user: the recording, a WAV file in base64, becomes {"text"} in that
 * language. What goes wrong is {"error": {"message"}}, or {"code", "msg"} where the request is turned away.
 */
export async function translate(request: Request): Promise<Response> {
  try {
    return await answer(request);
  } catch (error) {
    // Which service failed, and how, concerns the owner; what it said may hold anything, and is kept nowhere.
    console.error(error instanceof Error ? error.message : "unknown");
    return failure(502, "Translation is not available at the moment. Please try again later.");
  }
}
