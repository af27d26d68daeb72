import { askModel } from "./model.ts";

// A name of a language, not a text that would talk the model into something else.
const longestLanguage = 100;

function json(status: number, body: unknown): Response {
  return Response.json(body, { status });
}

/** A request that is turned away, in the shape of the project's own services. */
function refusal(code: number, msg: string): Response {
  return json(code, { code, msg });
}

function failure(status: number, message: string): Response {
  return json(status, { error: { message } });
}

/** Whether the project knows the user on whose behalf the request is made. */
async function isSignedIn(request: Request): Promise<boolean> {
  const authorization = request.headers.get("Authorization");
  if (!authorization) return false;
  const user = await fetch(`${Deno.env.get("SUPABASE_URL")}/auth/v1/user`, {
    headers: {
      Authorization: authorization,
      apikey: request.headers.get("apikey") ?? Deno.env.get("SUPABASE_ANON_KEY") ?? "",
    },
    signal: AbortSignal.timeout(10_000),
  });
  await user.body?.cancel();
  return user.ok;
}

async function readObject(request: Request): Promise<Record<string, unknown> | undefined> {
  try {
    const body = await request.json();
    return body !== null && typeof body === "object" && !Array.isArray(body) ? body : undefined;
  } catch {
    return undefined;
  }
}

/** What is wrong with a recording in base64; nothing for one that a model may be asked to hear. */
function faultOf(audio: unknown): string | undefined {
  if (typeof audio !== "string" || audio === "" || !/^[A-Za-z0-9+/]*={0,2}$/.test(audio) || audio.length % 4 !== 0) {
    return "the data is not base64";
  }
  const head = atob(audio.slice(0, 16));
  return head.startsWith("RIFF") && head.slice(8) === "WAVE" ? undefined : "not a RIFF/WAVE file";
}

/**
 * POST {"audio", "language"} by a signed-in user: the recording, a WAV file in base64, becomes {"text"} in that
 * language. What goes wrong is {"error": {"message"}}, or {"code", "msg"} where the request is turned away.
 */
export async function translate(request: Request): Promise<Response> {
  if (request.method !== "POST") return refusal(405, "Method Not Allowed");
  const type = request.headers.get("Content-Type")?.split(";")[0].trim().toLowerCase();
  if (type !== "application/json") return refusal(415, "Content-Type must be application/json");
  // Before the body, of which a stranger may send any amount; a user's arrives in the meantime.
  try {
    if (!await isSignedIn(request)) return refusal(401, "Invalid or expired access token");
  } catch {
    return failure(502, "The project's accounts did not answer");
  }
  const body = await readObject(request);
  if (!body) return refusal(400, "Could not parse the request's body as a JSON object");

  const { audio, language } = body;
  if (typeof language !== "string" || language === "" || language.length > longestLanguage) {
    return failure(400, "language: a name is needed");
  }
  const fault = faultOf(audio);
  if (fault) return failure(400, `audio: ${fault}`);

  const answer = await askModel(audio as string, language);
  return "text" in answer ? json(200, answer) : failure(502, answer.error);
}
