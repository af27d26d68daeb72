import { parse } from "./json.ts";

/** Seconds of speech that each user may have translated a day; undefined when there is no limit. */
export function dailyLimit(): number | undefined {
  const setting = Deno.env.get("DAILY_LIMIT_SECONDS");
  if (!setting) return undefined;
  const seconds = Number(setting);
  if (!Number.isFinite(seconds) || seconds < 0) throw new Error("DAILY_LIMIT_SECONDS is not a number of seconds");
  return seconds;
}

/** The key of the service role: of the new kind, which projects have under names, or the legacy one. */
function secretKey(): string {
  const [named] = Object.values(parse(Deno.env.get("SUPABASE_SECRET_KEYS") ?? "") ?? {});
  return String(named ?? Deno.env.get("SUPABASE_SERVICE_ROLE_KEY"));
}

/**
 * Counts a user's seconds of speech; false, with nothing counted, when that would be more than the limit of a day.
 * Rejects when the database does not answer.
 */
export async function countSpeech(user: string, seconds: number, limit: number): Promise<boolean> {
  const key = secretKey();
  const response = await fetch(`${Deno.env.get("SUPABASE_URL")}/rest/v1/rpc/count_speech`, {
    method: "POST",
    headers: { Authorization: `Bearer ${key}`, apikey: key, "Content-Type": "application/json" },
    body: JSON.stringify({ speaker: user, spoken: seconds, daily_limit: limit }),
    signal: AbortSignal.timeout(5_000),
  });
  const counted = await response.text();
  if (counted !== "true" && counted !== "false") throw new Error(`count_speech: HTTP ${response.status}`);
  return counted === "true";
}
